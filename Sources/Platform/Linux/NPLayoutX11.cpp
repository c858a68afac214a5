#include "Platform/Linux/NPLayoutX11.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace {

constexpr std::uint32_t neededMinorVersion = 3; // of RandR 1: reads the layout without probing the hardware
constexpr std::uint32_t longestEdid = 32768;    // in bytes, all its extension blocks included

struct OutputRequests {
    xcb_randr_output_t output;
    unsigned int information;
    unsigned int edid;
    unsigned int emulation;
};

struct CrtcRequests {
    xcb_randr_crtc_t crtc;
    unsigned int information;
    unsigned int table;
    unsigned int recordName;
};

// An output called XWAYLAND0 and so on.
bool isEmulatedConnector(std::string_view connector)
{
    static constexpr std::string_view prefix = "XWAYLAND";
    return connector.starts_with(prefix) && connector.size() > prefix.size()
           && connector.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

class Reading {
public:
    Reading(NPConnectionX11& connection, xcb_atom_t edidName, xcb_atom_t emulationName)
        : _connection(connection), _edidName(edidName), _emulationName(emulationName)
    {
    }

    std::optional<NPLayoutX11> layout();

private:
    OutputRequests _requestOutput(xcb_randr_output_t output, xcb_timestamp_t time) const;
    CrtcRequests _requestCrtc(xcb_randr_crtc_t crtc, xcb_timestamp_t time) const;
    unsigned int _requestProperty(xcb_randr_output_t output, xcb_atom_t name, std::uint32_t length) const;
    void _takeOutput(const OutputRequests& requests);
    void _takeCrtc(const CrtcRequests& requests);
    void _readRecords();

    NPConnectionX11& _connection;
    const xcb_atom_t _edidName;
    const xcb_atom_t _emulationName;
    NPLayoutX11 _layout;
};

std::optional<NPLayoutX11> Reading::layout()
{
    const unsigned int unanswered = _connection.unansweredCount();
    xcb_connection_t* const handle = _connection.handle();
    const auto resourcesRequest = xcb_randr_get_screen_resources_current(handle, _connection.root());
    const auto primaryRequest = xcb_randr_get_output_primary(handle, _connection.root());
    const auto resources =
        _connection.reply<xcb_randr_get_screen_resources_current_reply_t>(resourcesRequest.sequence);
    const auto primary = _connection.reply<xcb_randr_get_output_primary_reply_t>(primaryRequest.sequence);
    if (!resources || !primary) {
        return std::nullopt;
    }
    _layout.primary = primary->output;
    _layout.firstRequest = resourcesRequest.sequence;

    const std::span outputs(xcb_randr_get_screen_resources_current_outputs(resources.get()),
                            resources->num_outputs);
    const std::span crtcs(xcb_randr_get_screen_resources_current_crtcs(resources.get()), resources->num_crtcs);
    std::vector<OutputRequests> outputRequests;
    std::vector<CrtcRequests> crtcRequests;
    for (const xcb_randr_output_t output : outputs) {
        outputRequests.push_back(_requestOutput(output, resources->config_timestamp));
    }
    for (const xcb_randr_crtc_t crtc : crtcs) {
        crtcRequests.push_back(_requestCrtc(crtc, resources->config_timestamp));
    }
    std::ranges::for_each(outputRequests, [this](const OutputRequests& requests) { _takeOutput(requests); });
    std::ranges::for_each(crtcRequests, [this](const CrtcRequests& requests) { _takeCrtc(requests); });
    _readRecords();
    // Without some of the answers the rest must not be taken for the whole.
    const bool isWhole = _connection.unansweredCount() == unanswered && !_connection.isLost();
    return isWhole ? std::optional(std::move(_layout)) : std::nullopt;
}

OutputRequests Reading::_requestOutput(xcb_randr_output_t output, xcb_timestamp_t time) const
{
    return {output, xcb_randr_get_output_info(_connection.handle(), output, time).sequence,
            _requestProperty(output, _edidName, longestEdid), _requestProperty(output, _emulationName, 1)};
}

// A property of no name is an error like any other, and read as none.
unsigned int Reading::_requestProperty(xcb_randr_output_t output, xcb_atom_t name, std::uint32_t length) const
{
    return xcb_randr_get_output_property(_connection.handle(), output, name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                         (length + 3) / 4, 0, 0)
        .sequence;
}

CrtcRequests Reading::_requestCrtc(xcb_randr_crtc_t crtc, xcb_timestamp_t time) const
{
    return {crtc, xcb_randr_get_crtc_info(_connection.handle(), crtc, time).sequence,
            xcb_randr_get_crtc_gamma(_connection.handle(), crtc).sequence,
            _connection.requestAtom(NPBaseRecordX11Name(crtc))};
}

void Reading::_takeOutput(const OutputRequests& requests)
{
    const auto information = _connection.reply<xcb_randr_get_output_info_reply_t>(requests.information);
    const auto edid = _connection.reply<xcb_randr_get_output_property_reply_t>(requests.edid);
    const auto emulation = _connection.reply<xcb_randr_get_output_property_reply_t>(requests.emulation);
    if (!information) {
        return; // it has gone between the questions
    }
    NPOutputX11 output;
    output.output = requests.output;
    output.crtc = information->crtc;
    const auto* const name = xcb_randr_get_output_info_name(information.get());
    output.connector.assign(name, name + xcb_randr_get_output_info_name_length(information.get()));
    if ((emulation && emulation->type != XCB_ATOM_NONE) || isEmulatedConnector(output.connector)) {
        _layout.isEmulation = true;
    }
    // Some drivers cannot tell whether a display is connected: "unknown" counts as connected.
    if (information->connection == XCB_RANDR_CONNECTION_DISCONNECTED) {
        return;
    }
    if (edid && edid->format == 8) {
        const std::span data(xcb_randr_get_output_property_data(edid.get()), edid->num_items);
        output.edid.assign(data.begin(), data.end());
    }
    _layout.outputs.push_back(std::move(output));
}

void Reading::_takeCrtc(const CrtcRequests& requests)
{
    const auto information = _connection.reply<xcb_randr_get_crtc_info_reply_t>(requests.information);
    const auto table = _connection.reply<xcb_randr_get_crtc_gamma_reply_t>(requests.table);
    const xcb_atom_t recordName = _connection.atomReply(requests.recordName);
    if (!information) {
        return;
    }
    NPCrtcX11 crtc;
    crtc.crtc = requests.crtc;
    crtc.area = {static_cast<double>(information->x), static_cast<double>(information->y),
                 static_cast<double>(information->width), static_cast<double>(information->height)};
    crtc.mode = information->mode;
    crtc.rotation = information->rotation;
    crtc.table = NPHardwareTableFromReplyX11(table.get());
    crtc.recordName = recordName;
    _layout.crtcs.push_back(std::move(crtc));
}

void Reading::_readRecords()
{
    std::vector<unsigned int> requests;
    for (const NPCrtcX11& crtc : _layout.crtcs) {
        requests.push_back(xcb_get_property(_connection.handle(), 0, _connection.root(), crtc.recordName,
                                            XCB_ATOM_CARDINAL, 0, NPLongestBaseRecordX11)
                               .sequence);
    }
    for (std::size_t i = 0; i < requests.size(); ++i) {
        const auto property = _connection.reply<xcb_get_property_reply_t>(requests[i]);
        _layout.crtcs[i].record = NPBaseRecordFromReplyX11(property.get());
    }
}

} // namespace

NPHardwareTable NPHardwareTableFromReplyX11(const xcb_randr_get_crtc_gamma_reply_t* reply)
{
    if (reply == nullptr) {
        return {};
    }
    NPHardwareTable table(reply->size);
    std::copy_n(xcb_randr_get_crtc_gamma_red(reply), reply->size, table.channel(0).begin());
    std::copy_n(xcb_randr_get_crtc_gamma_green(reply), reply->size, table.channel(1).begin());
    std::copy_n(xcb_randr_get_crtc_gamma_blue(reply), reply->size, table.channel(2).begin());
    return table;
}

std::optional<NPBaseRecordX11> NPBaseRecordFromReplyX11(const xcb_get_property_reply_t* reply)
{
    if (reply == nullptr || reply->type != XCB_ATOM_CARDINAL || reply->format != 16 || reply->bytes_after != 0) {
        return std::nullopt;
    }
    const auto* const items = static_cast<const std::uint16_t*>(xcb_get_property_value(reply));
    return NPBaseRecordX11Decode({items, reply->value_len});
}

std::expected<NPLayoutReaderX11, std::string> NPLayoutReaderX11::make(NPConnectionX11& connection,
                                                                      const std::function<void()>& alongside)
{
    xcb_connection_t* const handle = connection.handle();
    NPLayoutReaderX11 reader(connection);
    xcb_prefetch_extension_data(handle, &xcb_randr_id);
    const unsigned int edidRequest = connection.requestAtom("EDID");
    const unsigned int emulationRequest = connection.requestAtom("RANDR Emulation");
    const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(handle, &xcb_randr_id);
    const std::string missing = "The X server at \"" + connection.name() + "\" has no RandR 1.3 or later";
    if (extension == nullptr || extension->present == 0) {
        return std::unexpected(missing);
    }
    reader._firstEvent = extension->first_event;
    reader._edidName = connection.atomReply(edidRequest);
    reader._emulationName = connection.atomReply(emulationRequest);

    if (alongside) {
        alongside();
    }
    const auto versionRequest = xcb_randr_query_version(handle, 1, neededMinorVersion);
    xcb_randr_select_input(handle, connection.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE
                               | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_PROPERTY);
    const auto version = connection.reply<xcb_randr_query_version_reply_t>(versionRequest.sequence);
    const bool isNewEnough = version
                             && (version->major_version > 1
                                 || (version->major_version == 1 && version->minor_version >= neededMinorVersion));
    if (!isNewEnough) {
        return std::unexpected(missing);
    }
    return reader;
}

std::optional<NPLayoutX11> NPLayoutReaderX11::read()
{
    return Reading(*_connection, _edidName, _emulationName).layout();
}
