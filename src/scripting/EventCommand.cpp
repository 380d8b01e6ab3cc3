#include "scripting/EventCommand.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <array>

namespace vt {

namespace {

using namespace literals;

bool isTrue(const EventDescriptor& descriptor) {
    return descriptor.type() == descriptortype::typeTrue;
}

void debug(EventCall& call, std::string_view format, std::initializer_list<TextArgument> arguments) {
    if (call.target.eventLog().debugEnabled())
        call.target.eventLog().debugMessage("-" + call.handler + ": " + formatText(format, arguments));
}

void answer(EventCall& call, bool value) {
    call.result = EventDescriptor::descriptorWithBOOL(value);
}

void query(EventCall& call) {
    if (!call.target.isDriveValidForSync(call.drive, true)) {
        debug(call, "drive is not valid for sync.", {});
        call.failure = "drive is not valid for sync";
        return;
    }
    const bool isSetUp = call.target.isDriveSetupForSync(call.drive);
    debug(call, isSetUp ? "drive is set up for sync." : "drive is not set up for sync.", {});
    answer(call, isSetUp);
}

void getSyncList(EventCall& call) {
    if (!call.target.isDriveValidForSync(call.drive, true)) {
        debug(call, "non-HFS volume specified.", {});
        call.failure = "bad volume format";
        return;
    }
    EventDescriptor::List items;
    for (const std::string& path : call.target.getSyncListForDrive(call.drive)) {
        debug(call, "adding to list: %@", {paths::displayText(path)});
        if (auto url = EventDescriptor::descriptorWithPathAsCFURL(path)) items.push_back(std::move(*url));
    }
    call.result = EventDescriptor(std::move(items));
}

void setSyncList(EventCall& call) {
    std::vector<std::string> list;
    int number = 0;
    for (const EventDescriptor& item : *call.parameter->list()) {
        ++number;
        const auto path = item.getFileURL();
        if (!path) {
            debug(call, "cannot retrieve fileURL for item %d.", {number});
            call.failure = formatText("cannot retrieve fileURL for item %d", {number});
            return;
        }
        const std::string abbreviated = call.target.abbreviatedPath(*path);
        debug(call, "item URL #%d is %@ (%@)", {number, paths::displayText(*path), paths::displayText(abbreviated)});
        list.push_back(abbreviated);
    }
    debug(call, "main URL is %@", {paths::displayText(call.drive)});
    call.target.setSyncList(list, call.drive);
}

void getContinuous(EventCall& call) {
    answer(call, call.target.getContinuousSyncStateForDrive(call.drive));
}

void setContinuous(EventCall& call) {
    if (!call.target.hasController(call.drive)) {
        debug(call, "no controller for this URL.", {});
        return;
    }
    call.target.setContinuousSyncState(isTrue(*call.parameter), call.drive);
    call.target.updateContinuousSyncSettings();
}

template <MediaKind Kind> void getMedia(EventCall& call) {
    answer(call, call.target.syncMediaStateForDrive(Kind, call.drive));
}

template <MediaKind Kind> void setMedia(EventCall& call) {
    if (!call.target.hasController(call.drive)) {
        debug(call, "no sync controller for this URL.", {});
        return;
    }
    call.target.setSyncMediaState(Kind, isTrue(*call.parameter), call.drive);
    call.target.updateFileValidatorForDrive(call.drive);
}

void getDeviceFilter(EventCall& call) {
    call.result = EventDescriptor::descriptorWithInt32(call.target.syncDeviceFilterForDrive(call.drive));
}

void setDeviceFilter(EventCall& call) {
    if (!call.target.hasController(call.drive)) {
        debug(call, "no sync controller for this URL.", {});
        return;
    }
    call.target.setSyncDeviceFilter(*call.parameter->int32Value(), call.drive);
    call.target.updateFileValidatorForDrive(call.drive);
    call.target.syncSoonIfContinuous(call.drive);
}

void getParticipate(EventCall& call) {
    answer(call, call.target.getParticipateSyncStateForDrive(call.drive));
}

void setParticipate(EventCall& call) {
    const bool participate = isTrue(*call.parameter);
    call.target.setParticipateSyncState(participate, call.drive);
    if (!participate) {
        call.target.cancelSyncForDriveAt(call.drive);
    } else if (call.target.hasController(call.drive)) {
        call.target.setContinuousSyncState(call.target.getContinuousSyncStateForDrive(call.drive), call.drive);
    }
    call.target.updateContinuousSyncSettings();
}

void driveIsHfsPlus(EventCall& call) {
    answer(call, call.target.isDriveValidForSync(call.drive, true));
}
void getQuiet(EventCall& call) {
    answer(call, call.target.getQuietSyncStateForDrive(call.drive));
}
void setQuiet(EventCall& call) {
    call.target.setQuietSyncState(isTrue(*call.parameter), call.drive);
}
void start(EventCall& call) {
    call.target.startSyncForDriveAt(call.drive);
}
void cancel(EventCall& call) {
    call.target.cancelSyncForDriveAt(call.drive);
}
void removeSync(EventCall& call) {
    answer(call, call.target.removeDriveSync(call.drive));
}

void status(EventCall& call) {
    auto users = call.target.statusForDrive(call.drive);
    if (users) call.result = EventDescriptor(descriptortype::typeStatus, call.target.archivedStatus(*users));
}

// The names that error texts give to the parameters; for the media switches and the filter it is the property's.
constexpr const char* moviesProperty = "kMRLSyncMoviesStateProperty";
constexpr const char* musicProperty = "kMRLSyncMusicStateProperty";
constexpr const char* picturesProperty = "kMRLSyncPicturesStateProperty";
constexpr const char* documentsProperty = "kMRLSyncDocumentsStateProperty";
constexpr const char* filterProperty = "kMRLSyncDeviceFilterProperty";

EventCommand getter(FourCharCode id, const char* handler, ReplyKind reply, void (*perform)(EventCall&)) {
    return {.id = id, .handler = handler, .replyKind = reply, .perform = perform};
}

EventCommand mediaGetter(FourCharCode id, const char* handler, ReplyKind reply, void (*perform)(EventCall&)) {
    EventCommand row = getter(id, handler, reply, perform);
    row.lowerCaseDescriptorText = true;
    return row;
}

EventCommand setter(FourCharCode id, const char* handler, ParameterKind kind, FourCharCode keyword, const char* name,
                    void (*perform)(EventCall&)) {
    return {.id = id,
            .handler = handler,
            .parameterKind = kind,
            .parameterKeyword = keyword,
            .parameterName = name,
            .perform = perform};
}

} // namespace

std::span<const EventCommand> eventCommands() {
    using enum ParameterKind;
    static const std::array<EventCommand, 24> rows = {
        getter("QURY"_fcc, "handleQueryEvent", ReplyKind::boolean, query),
        getter("GETL"_fcc, "handleGetSyncListEvent", ReplyKind::list, getSyncList),
        setter("SETL"_fcc, "handleSetSyncListEvent", list, "ITMZ"_fcc, "ITMZ", setSyncList),
        getter("GCSS"_fcc, "handleGetContinuousSyncStateEvent", ReplyKind::boolean, getContinuous),
        setter("SCSS"_fcc, "handleSetContinuousSyncStateEvent", boolean, "CSSP"_fcc, "CSSP", setContinuous),
        mediaGetter("GSMS"_fcc, "handleSyncMoviesStateEvent", ReplyKind::boolean, getMedia<MediaKind::movies>),
        setter("SSMS"_fcc, "handleSetSyncMoviesStateEvent", boolean, "SMSP"_fcc, moviesProperty,
               setMedia<MediaKind::movies>),
        mediaGetter("GSSS"_fcc, "handleSyncMusicStateEvent", ReplyKind::boolean, getMedia<MediaKind::music>),
        setter("SSSS"_fcc, "handleSetSyncMusicStateEvent", boolean, "SSSP"_fcc, musicProperty,
               setMedia<MediaKind::music>),
        mediaGetter("GSPS"_fcc, "handleSyncPicturesStateEvent", ReplyKind::boolean, getMedia<MediaKind::pictures>),
        setter("SSPS"_fcc, "handleSetSyncPicturesStateEvent", boolean, "SPSP"_fcc, picturesProperty,
               setMedia<MediaKind::pictures>),
        mediaGetter("GSDS"_fcc, "handleSyncDocumentsStateEvent", ReplyKind::boolean, getMedia<MediaKind::documents>),
        setter("SSDS"_fcc, "handleSetSyncDocumentsStateEvent", boolean, "SDSP"_fcc, documentsProperty,
               setMedia<MediaKind::documents>),
        mediaGetter("GSDF"_fcc, "handleSyncDeviceFilterEvent", ReplyKind::integer, getDeviceFilter),
        setter("SSDF"_fcc, "handleSetSyncDeviceFilterEvent", integer, "SDFP"_fcc, filterProperty, setDeviceFilter),
        getter("GPSS"_fcc, "handleGetParticipateSyncStateEvent", ReplyKind::boolean, getParticipate),
        setter("SPSS"_fcc, "handleSetParticipateSyncStateEvent", boolean, "PSSP"_fcc, "PSSP", setParticipate),
        getter("DHFS"_fcc, "handleIsDriveHFSPlusEvent", ReplyKind::boolean, driveIsHfsPlus),
        getter("GQSS"_fcc, "handleGetQuietSyncStateEvent", ReplyKind::boolean, getQuiet),
        setter("SQSS"_fcc, "handleSetQuietSyncStateEvent", boolean, "QSSP"_fcc, "QSSP", setQuiet),
        getter("DOIT"_fcc, "handleStartEvent", ReplyKind::none, start),
        getter("STOP"_fcc, "handleCancelEvent", ReplyKind::none, cancel),
        getter("INFO"_fcc, "handleStatusEvent", ReplyKind::status, status),
        getter("REMV"_fcc, "handleRemoveSyncEvent", ReplyKind::boolean, removeSync),
    };
    return rows;
}

} // namespace vt
