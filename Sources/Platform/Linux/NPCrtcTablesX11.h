// The gamma tables of an X server's CRTCs: writes them without waiting, and knows which table each CRTC has
// of its own (its base table) while it shows another one.
//
// Before a CRTC first shows another table than its own, a record of its own is put into the server
// (NPBaseRecordX11) and handed to the guard; when its own table has been written back, the record goes.
#pragma once

#include "Platform/Linux/NPBaseRecordX11.h"
#include "Platform/Linux/NPConnectionX11.h"
#include "Platform/Linux/NPDisplayGuard.h"
#include "Platform/Linux/NPLayoutX11.h"
#include "ScreenGamma/QXGammaTable.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

class NPCrtcTablesX11 {
public:
    using DisplayOfCrtc = std::function<NPDisplayID(xcb_randr_crtc_t crtc)>;

    // The guard may be missing. `owner` marks the records of this run. Both references and the guard must
    // outlive the object.
    NPCrtcTablesX11(NPConnectionX11& connection, NPDisplayGuard* guard, std::uint64_t owner);

    // Takes over what was read about the CRTCs. `displayOfCrtc` says whose table a CRTC shows (0: nobody's).
    // A CRTC's own table is, in this order, the recorded one of the display that it drives now, whichever
    // CRTC it was recorded for; the one recorded for the CRTC; else the one that it shows. A CRTC that a
    // display has left for another one gets its own table back, and so does, except the first time, one that
    // drives a display that it did not drive before: gamma tables survive while a CRTC is off, and nobody need
    // want on the display what was last on the CRTC. Both are held, so that whoever hears of the display first
    // can have it show something else at once.
    void adopt(const NPLayoutX11& layout, const DisplayOfCrtc& displayOfCrtc);

    // Tables that were read with the layout are good for the turn of the main loop in which that was; later
    // they are asked for anew, because other programs write tables too.
    void forgetReadTables();

    // The table that the CRTC shows, or will show once the server has caught up. None when it has none.
    std::optional<QXGammaTable> shownTable(xcb_randr_crtc_t crtc);

    // The CRTC's own table, read anew unless it shows another one now. One that shows nothing is replaced by
    // the neutral table. None when the CRTC has no table.
    std::optional<QXGammaTable> baseTable(xcb_randr_crtc_t crtc);

    // The profile of the display on the CRTC says what its own table is. From then on that is the CRTC's own
    // table, to which restoring and the guard go back, whatever it shows. The result is the table to be used for
    // it: the CRTC's own so far where the two are the same but for rounding. Nothing changes, and the result is
    // the same as of baseTable(), for a table that shows nothing.
    std::optional<QXGammaTable> setBaseTable(xcb_randr_crtc_t crtc, const QXGammaTable& table);

    // The profile of the display on the CRTC says nothing about its own table. The result is the same as of
    // baseTable(), except after another profile had decided it: then it is the neutral table.
    std::optional<QXGammaTable> baseTableWithoutProfile(xcb_randr_crtc_t crtc);

    // Has the CRTC show the table. A table equal to baseTable() writes the hardware's own table back, sample
    // for sample, whatever its size. While the server is behind, the table is held, and replaced by newer
    // ones, until sendHeldTables(). False when there is no such table or the connection is lost.
    bool write(xcb_randr_crtc_t crtc, const QXGammaTable& table);

    // Whether a CRTC shows another table than its own, or may do so, left by this run or an earlier one.
    bool isChanged() const;

    bool holdsTables() const;
    void sendHeldTables(); // as far as the server takes them without waiting

    // Writes every own table back that is not shown, also on CRTCs that drive nothing.
    void restoreBaseTables();

    // The same on the CRTCs alone that drive nothing.
    void restoreIdleBaseTables();

private:
    struct BaseTable {
        NPHardwareTable hardware;
        QXGammaTable record;
        bool isGuarded = false; // the guard holds it
        bool isFromProfile = false; // a profile of the display decided it
    };

    struct Crtc {
        NPDisplayID display = 0;
        std::size_t size = 0;
        xcb_atom_t recordName = XCB_ATOM_NONE;
        std::optional<NPHardwareTable> read; // with the layout
        std::optional<BaseTable> base;
        NPHardwareTable next; // the newest to be shown
        bool nextIsBase = false;
        bool isHeld = false; // `next` has not been sent
        bool isChanged = false; // shows another table than its own, or may do so
        bool isRecorded = false; // there is a record of `base`, by this run
    };

    static BaseTable _makeBase(const NPHardwareTable& table, std::size_t size);
    static void _replaceBase(Crtc& crtc, BaseTable base);
    static void _prepareRestoring(Crtc& crtc);
    void _adoptCrtc(const NPCrtcX11& source, NPDisplayID display, const NPLayoutX11& layout);
    Crtc* _crtc(xcb_randr_crtc_t crtc);
    std::optional<NPHardwareTable> _readTable(xcb_randr_crtc_t identifier, const Crtc& crtc);
    bool _renewBase(xcb_randr_crtc_t identifier, Crtc& crtc);
    void _send(xcb_randr_crtc_t identifier, Crtc& crtc);
    void _record(xcb_randr_crtc_t identifier, Crtc& crtc);

    NPConnectionX11& _connection;
    NPDisplayGuard* const _guard;
    const std::uint64_t _owner;
    std::map<xcb_randr_crtc_t, Crtc> _crtcs;
    bool _hasAdopted = false;
};
