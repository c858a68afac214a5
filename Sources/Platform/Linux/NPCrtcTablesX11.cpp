#include "Platform/Linux/NPCrtcTablesX11.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace {

const NPBaseRecordX11* recordOfDisplay(const NPLayoutX11& layout, NPDisplayID display)
{
    if (display == 0) {
        return nullptr;
    }
    for (const NPCrtcX11& crtc : layout.crtcs) {
        if (crtc.record && crtc.record->display == display) {
            return &*crtc.record;
        }
    }
    return nullptr;
}

// Whoever loads a profile's table rounds it in a way of their own.
bool isSameButForRounding(const QXGammaTable& left, const QXGammaTable& right)
{
    constexpr float tolerance = 2.0F / 65535.0F;
    const auto alike = [&](const QXGammaTable::Channel& one, const QXGammaTable::Channel& other) {
        return std::equal(one.begin(), one.begin() + left.sampleCount, other.begin(),
                          [](float a, float b) { return std::fabs(a - b) <= tolerance; });
    };
    return left.sampleCount == right.sampleCount && alike(left.redTable, right.redTable)
           && alike(left.greenTable, right.greenTable) && alike(left.blueTable, right.blueTable);
}

} // namespace

NPCrtcTablesX11::NPCrtcTablesX11(NPConnectionX11& connection, NPDisplayGuard* guard, std::uint64_t owner)
    : _connection(connection), _guard(guard), _owner(owner)
{
}

NPCrtcTablesX11::BaseTable NPCrtcTablesX11::_makeBase(const NPHardwareTable& table, std::size_t size)
{
    if (!NPHardwareTableShowsPicture(table)) {
        return {NPHardwareTableIdentity(size), QXGammaTableIdentity()};
    }
    if (table.size() != size) {
        return {NPHardwareTableResized(table, size), NPGammaTableFromHardwareTable(table)};
    }
    return {table, NPGammaTableFromHardwareTable(table)};
}

// What is known of the same table stays.
void NPCrtcTablesX11::_replaceBase(Crtc& crtc, BaseTable base)
{
    const bool isSame = crtc.base && crtc.base->hardware == base.hardware;
    base.isGuarded = isSame && crtc.base->isGuarded;
    base.isFromProfile = isSame && crtc.base->isFromProfile;
    if (base.isFromProfile) {
        base.record = crtc.base->record;
    }
    crtc.base = std::move(base);
}

void NPCrtcTablesX11::adopt(const NPLayoutX11& layout, const DisplayOfCrtc& displayOfCrtc)
{
    std::erase_if(_crtcs, [&](const auto& entry) {
        const auto found = std::ranges::find(layout.crtcs, entry.first, &NPCrtcX11::crtc);
        return found == layout.crtcs.end() || found->table.size() < NPHardwareTable::minimumSize;
    });
    std::set<NPDisplayID> driven;
    for (const NPCrtcX11& crtc : layout.crtcs) {
        if (crtc.table.size() >= NPHardwareTable::minimumSize) {
            const NPDisplayID display = displayOfCrtc(crtc.crtc);
            _adoptCrtc(crtc, display, layout);
            driven.insert(display);
        }
    }
    for (const NPCrtcX11& source : layout.crtcs) {
        Crtc* const crtc = _crtc(source.crtc);
        if (crtc != nullptr && crtc->display == 0 && source.record && driven.contains(source.record->display)) {
            _prepareRestoring(*crtc);
        }
    }
    _hasAdopted = true;
}

void NPCrtcTablesX11::_adoptCrtc(const NPCrtcX11& source, NPDisplayID display, const NPLayoutX11& layout)
{
    Crtc& crtc = _crtcs[source.crtc];
    if (crtc.size != source.table.size()) {
        crtc.size = source.table.size();
        crtc.next = NPHardwareTable(crtc.size);
        crtc.isHeld = false; // made for the former size; its display is told that it was set
        if (crtc.base) {
            crtc.base->hardware = NPHardwareTableResized(crtc.base->hardware, crtc.size);
        }
    }
    crtc.recordName = source.recordName;
    crtc.read = source.table;

    const bool isOwnRecord = source.record && source.record->display == display;
    const NPBaseRecordX11* record = isOwnRecord ? &*source.record : recordOfDisplay(layout, display);
    if (record == nullptr && source.record) {
        record = &*source.record;
    }
    if (record != nullptr) {
        _replaceBase(crtc, _makeBase(record->table, crtc.size));
        crtc.isChanged = true;
        crtc.isRecorded = source.record && record == &*source.record && record->owner == _owner;
    } else if (crtc.display != display && !crtc.isChanged) {
        crtc.base.reset();
    }
    // What an earlier run left on stays on at the start; whether it shall is decided by who has opened us.
    const bool isNewHere = display != 0 && crtc.display != display && _hasAdopted;
    crtc.display = display;
    if (isNewHere) {
        _prepareRestoring(crtc);
    }
}

void NPCrtcTablesX11::forgetReadTables()
{
    for (auto& [identifier, crtc] : _crtcs) {
        crtc.read.reset();
    }
}

std::optional<QXGammaTable> NPCrtcTablesX11::shownTable(xcb_randr_crtc_t identifier)
{
    const Crtc* const crtc = _crtc(identifier);
    if (crtc == nullptr) {
        return std::nullopt;
    }
    if (crtc->isHeld) {
        return NPGammaTableFromHardwareTable(crtc->next);
    }
    const std::optional<NPHardwareTable> table = _readTable(identifier, *crtc);
    return table ? std::optional(NPGammaTableFromHardwareTable(*table)) : std::nullopt;
}

std::optional<QXGammaTable> NPCrtcTablesX11::baseTable(xcb_randr_crtc_t identifier)
{
    Crtc* const crtc = _crtc(identifier);
    if (crtc == nullptr || (!crtc->isChanged && !_renewBase(identifier, *crtc))) {
        return std::nullopt;
    }
    return crtc->base->record;
}

std::optional<QXGammaTable> NPCrtcTablesX11::setBaseTable(xcb_randr_crtc_t identifier, const QXGammaTable& table)
{
    Crtc* const crtc = _crtc(identifier);
    if (crtc == nullptr || (!crtc->isChanged && !_renewBase(identifier, *crtc))) {
        return std::nullopt;
    }
    NPHardwareTable hardware(crtc->size);
    NPHardwareTableFill(table, hardware);
    if (NPHardwareTableShowsPicture(hardware) && !isSameButForRounding(crtc->base->record, table)) {
        crtc->base = BaseTable{std::move(hardware), table};
        crtc->isChanged = true;
        crtc->isRecorded = false;
    }
    crtc->base->isFromProfile = true;
    return crtc->base->record;
}

std::optional<QXGammaTable> NPCrtcTablesX11::baseTableWithoutProfile(xcb_randr_crtc_t identifier)
{
    Crtc* const crtc = _crtc(identifier);
    if (crtc != nullptr && crtc->isChanged && crtc->base->isFromProfile) {
        crtc->base = BaseTable{NPHardwareTableIdentity(crtc->size), QXGammaTableIdentity()};
        crtc->isRecorded = false;
    }
    return baseTable(identifier);
}

bool NPCrtcTablesX11::write(xcb_randr_crtc_t identifier, const QXGammaTable& table)
{
    Crtc* const crtc = _crtc(identifier);
    if (crtc == nullptr || (!crtc->base && !_renewBase(identifier, *crtc))) {
        return false;
    }
    crtc->nextIsBase = QXGammaTableEqual(table, crtc->base->record);
    if (crtc->nextIsBase) {
        crtc->next = crtc->base->hardware;
    } else {
        NPHardwareTableFill(table, crtc->next);
    }
    crtc->isHeld = true;
    sendHeldTables();
    return !_connection.isLost();
}

bool NPCrtcTablesX11::isChanged() const
{
    return std::ranges::any_of(_crtcs, [](const auto& entry) { return entry.second.isChanged; });
}

bool NPCrtcTablesX11::holdsTables() const
{
    return std::ranges::any_of(_crtcs, [](const auto& entry) { return entry.second.isHeld; });
}

// Flushes after every request that is as large as a table, so that there is always room for the next.
void NPCrtcTablesX11::sendHeldTables()
{
    for (auto& [identifier, crtc] : _crtcs) {
        if (crtc.isHeld && !crtc.nextIsBase && !crtc.isRecorded && _connection.hasRoom()) {
            _record(identifier, crtc);
            xcb_flush(_connection.handle());
        }
        if (crtc.isHeld && (crtc.nextIsBase || crtc.isRecorded) && _connection.hasRoom()) {
            _send(identifier, crtc);
            xcb_flush(_connection.handle());
        }
    }
}

void NPCrtcTablesX11::restoreBaseTables()
{
    for (auto& [identifier, crtc] : _crtcs) {
        _prepareRestoring(crtc);
    }
    sendHeldTables();
}

void NPCrtcTablesX11::restoreIdleBaseTables()
{
    for (auto& [identifier, crtc] : _crtcs) {
        if (crtc.display == 0) {
            _prepareRestoring(crtc);
        }
    }
    sendHeldTables();
}

// What has not been sent by now never will be.
void NPCrtcTablesX11::_prepareRestoring(Crtc& crtc)
{
    crtc.isHeld = crtc.isChanged;
    if (crtc.isChanged) {
        crtc.next = crtc.base->hardware;
        crtc.nextIsBase = true;
    }
}

NPCrtcTablesX11::Crtc* NPCrtcTablesX11::_crtc(xcb_randr_crtc_t identifier)
{
    const auto found = _crtcs.find(identifier);
    return found == _crtcs.end() ? nullptr : &found->second;
}

std::optional<NPHardwareTable> NPCrtcTablesX11::_readTable(xcb_randr_crtc_t identifier, const Crtc& crtc)
{
    if (crtc.read) {
        return crtc.read;
    }
    if (!_connection.isResponding()) {
        return std::nullopt;
    }
    const auto request = xcb_randr_get_crtc_gamma(_connection.handle(), identifier);
    const auto reply = _connection.reply<xcb_randr_get_crtc_gamma_reply_t>(request.sequence);
    NPHardwareTable table = NPHardwareTableFromReplyX11(reply.get());
    return table.size() == crtc.size ? std::optional(std::move(table)) : std::nullopt;
}

bool NPCrtcTablesX11::_renewBase(xcb_randr_crtc_t identifier, Crtc& crtc)
{
    const std::optional<NPHardwareTable> table = _readTable(identifier, crtc);
    if (table) {
        _replaceBase(crtc, _makeBase(*table, crtc.size));
    }
    return table.has_value();
}

void NPCrtcTablesX11::_send(xcb_randr_crtc_t identifier, Crtc& crtc)
{
    xcb_randr_set_crtc_gamma(_connection.handle(), identifier, static_cast<std::uint16_t>(crtc.size),
                             crtc.next.channel(0).data(), crtc.next.channel(1).data(),
                             crtc.next.channel(2).data());
    if (crtc.nextIsBase && crtc.isChanged) {
        xcb_delete_property(_connection.handle(), _connection.root(), crtc.recordName);
        crtc.isRecorded = false;
    }
    crtc.isChanged = !crtc.nextIsBase;
    crtc.isHeld = false;
    crtc.read.reset();
}

// Before the CRTC's own table can get lost.
void NPCrtcTablesX11::_record(xcb_randr_crtc_t identifier, Crtc& crtc)
{
    const NPBaseRecordX11 record{crtc.display, _owner, crtc.base->hardware};
    if (_guard != nullptr && !crtc.base->isGuarded) {
        _guard->holdBaseTable(identifier, record);
        crtc.base->isGuarded = true;
    }
    const std::vector<std::uint16_t> items = NPBaseRecordX11Encode(record);
    xcb_change_property(_connection.handle(), XCB_PROP_MODE_REPLACE, _connection.root(), crtc.recordName,
                        XCB_ATOM_CARDINAL, 16, static_cast<std::uint32_t>(items.size()), items.data());
    crtc.isRecorded = true;
    crtc.isChanged = true; // or will be: the record has to go again
}
