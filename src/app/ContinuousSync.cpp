#include "app/ContinuousSync.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "config/utilities/TypedGetters.h"
#include "sync/compare/ItemChoice.h"

#include <algorithm>
#include <utility>

namespace vt {

namespace {

constexpr const char* eventDataName = "com.corvane.vantaro.eventdata.notification.evt";
constexpr const char* helperSettingsName = "com.corvane.vantaro.helpersettings.notification";
constexpr const char* refreshRequestName = "com.corvane.vantaro.helpersettings.refreshReq";
constexpr const char* activityName = "com.corvane.vantaro.syncInProgress.notification.evt";
constexpr DeliveryOptions deliverToAllSessions = 3;
constexpr DeliveryOptions deliverImmediately = 1;
constexpr double notificationInterval = 0.5; // seconds
constexpr std::chrono::milliseconds quietPeriod{10'000};
constexpr std::chrono::milliseconds activityPeriod{2'000};

} // namespace

ContinuousSync::ContinuousSync(ApplicationServices& services, SyncControllerRegistry& registry, LogSink& log,
                               std::function<bool()> runningOnLeopardOrLater)
    : _services(services), _registry(registry), _log(log),
      _runningOnLeopardOrLater(std::move(runningOnLeopardOrLater)) {}

void ContinuousSync::startActivityTimer() {
    m_syncActivityTimer =
        _services.runLoop.every(activityPeriod, [this] { sendActivityNotificationForced(false, std::nullopt); });
}

std::vector<std::string> ContinuousSync::foldersOf(VTSyncController& controller) const {
    std::vector<std::string> folders;
    if (!controller.isParticipatingInSync() || !controller.continuousSyncState()) return folders;
    const HomePaths homePaths(_services.system.home());
    for (const std::string& item : controller.shadowedSyncList()) folders.push_back(homePaths.standardise(item));
    return folders;
}

std::vector<std::string> ContinuousSync::watchedFolders() const {
    std::vector<std::string> folders;
    for (const auto& [key, controller] : _registry.all())
        for (std::string& folder : foldersOf(*controller))
            if (std::find(folders.begin(), folders.end(), folder) == folders.end())
                folders.push_back(std::move(folder));
    return folders;
}

void ContinuousSync::updateContinuousSyncSettings() {
    if (_runningOnLeopardOrLater())
        updateFSEventSettings();
    else
        updateHelperToolSettings();
    noteWaiting();
}

void ContinuousSync::updateFSEventSettings() {
    const std::vector<std::string> folders = watchedFolders();
    tearDownFSEventStreams();
    if (_services.fileEvents != nullptr) {
        // A sync writes to the drives: that must start no sync of a folder that they stand in.
        std::vector<std::string> drives;
        for (const auto& [key, controller] : _registry.all()) drives.push_back(controller->deviceMountPoint());
        _services.fileEvents->leaveOut(drives);
    }
    if (folders.empty()) return;
    // Since-now replaces what the tear-down computed: a rebuilt stream never replays the past.
    m_fsEventSettings = FileEventSettings{};
    createFSEventStreamsForPaths(folders);
}

void ContinuousSync::createFSEventStreamsForPaths(const std::vector<std::string>& folders) {
    if (_services.fileEvents == nullptr) return;
    for (const std::string& folder : folders) {
        m_fsEventSettings.complete = [this, folder] { watchingBegan(folder); };
        auto stream = _services.fileEvents->stream(folder, m_fsEventSettings, [this, folder] { postChangeOf(folder); });
        if (stream)
            m_fsEventStreams.push_back(std::move(stream));
        else
            _log.logMessage(formatText("Unable to watch \"%@\" for changes.", {paths::displayText(folder)}));
    }
}

void ContinuousSync::tearDownFSEventStreams() {
    std::uint64_t smallest = 0;
    for (const auto& stream : m_fsEventStreams) {
        const std::uint64_t latest = stream->latestEventId();
        if (smallest == 0 || latest < smallest) smallest = latest;
    }
    m_fsEventSettings.sinceWhen = smallest == 0 ? ~0ULL : smallest;
    m_fsEventStreams.clear();
}

void ContinuousSync::postChangeOf(const std::string& folder) {
    Value::Dictionary userInfo;
    userInfo.emplace("evdata", Value::Data{folder});
    _services.notifications.post(eventDataName, application::notificationObject, userInfo, deliverToAllSessions);
}

void ContinuousSync::watchingBegan(const std::string& folder) {
    const bool pending =
        std::find(m_continuousSyncItems.begin(), m_continuousSyncItems.end(), folder) != m_continuousSyncItems.end();
    if (!pending) _watchedSince[folder] = _services.clock.now();
    m_continuousSyncItems.push_back(folder);
    mainThreadStartContinuousSyncTimer();
}

bool ContinuousSync::isPassedOver(const std::string& folder) const {
    const auto since = _watchedSince.find(folder);
    if (since == _watchedSince.end()) return false;
    for (const auto& [key, controller] : _registry.all()) {
        const std::vector<std::string> folders = foldersOf(*controller);
        if (std::find(folders.begin(), folders.end(), folder) == folders.end()) continue;
        const std::optional<Date> began = controller->lastFullPassBegan();
        if (!began || *began < since->second) return false;
    }
    return true;
}

void ContinuousSync::updateHelperToolSettings() {
    Value::Dictionary settings;
    settings.emplace("syncSet", arrayOfStrings(watchedFolders()));
    settings.emplace("notificationInterval", notificationInterval);
    Value::Dictionary userInfo;
    userInfo.emplace("syncsettings", std::move(settings));
    _services.notifications.post(helperSettingsName, application::notificationObject, userInfo, deliverToAllSessions);
}

void ContinuousSync::setContinuousSyncNotificationsEnabled(bool enabled) {
    if (enabled == _bAreContinuousSyncsEnabled) return;
    _bAreContinuousSyncsEnabled = enabled;
    if (!enabled) {
        // Only this one ends; the refresh observation stays, deliberately.
        _eventDataObservation.reset();
        return;
    }
    auto& notifications = _services.notifications;
    _eventDataObservation = notifications.observe(eventDataName, application::notificationObject,
                                                  [this](const Value::Dictionary& userInfo) {
                                                      const Value::Data* data = dataForKey(userInfo, "evdata");
                                                      if (data != nullptr && !data->bytes.empty())
                                                          mainThreadEventDataReceived(data->bytes);
                                                  });
    _refreshObservation = notifications.observe(refreshRequestName, application::notificationObject,
                                                [this](const Value::Dictionary&) { updateContinuousSyncSettings(); });
}

void ContinuousSync::mainThreadEventDataReceived(const std::string& bytes) {
    // Another program may have left its terminator in, or detours that no path on a drive may have.
    const HomePaths homePaths(_services.system.home());
    const std::string path = homePaths.standardise(bytes.substr(0, bytes.find('\0')));
    if (path.empty()) return;
    _watchedSince.erase(path);
    m_continuousSyncItems.push_back(path);
    mainThreadStartContinuousSyncTimer();
}

void ContinuousSync::mainThreadAddContinuousSyncItems(const std::vector<std::string>& paths) {
    const auto local = _services.driveFiles.bind(nullptr);
    std::vector<std::string> items = paths;
    const std::size_t startingCount = items.size();
    // The walk keeps its starting count while entries leave: the one that slides into a gap is not examined, and after
    // a removal the walk runs past the end, which abandons the addition. Deliberate: all of it is added, or nothing.
    for (std::size_t index = 0; index < startingCount; ++index) {
        if (index >= items.size()) return;
        const auto attributes = local->files().attributesFollowing(items[index]);
        if (!attributes.ok() || !attributes->isDirectory())
            items.erase(items.begin() + static_cast<std::ptrdiff_t>(index));
    }
    if (items.size() < startingCount) return;
    for (const std::string& item : items) _watchedSince.erase(item);
    m_continuousSyncItems.insert(m_continuousSyncItems.end(), items.begin(), items.end());
}

void ContinuousSync::enableContinuousSyncTimer(bool enable) {
    (void)_services.runLoop.performAndWait(
        [this, enable] { enable ? mainThreadStartContinuousSyncTimer() : mainThreadStopContinuousSyncTimer(); });
}

void ContinuousSync::mainThreadStartContinuousSyncTimer() {
    m_continuousSyncTimer = _services.runLoop.after(quietPeriod, [this] { continuousSyncTimerFired(); });
    _quietUntil = _services.clock.steady() + quietPeriod;
    noteWaiting();
}

void ContinuousSync::mainThreadStopContinuousSyncTimer() {
    m_continuousSyncTimer.reset();
    noteWaiting();
}

void ContinuousSync::continuousSyncTimerFired() {
    const std::unique_ptr<Timer> fired = std::move(m_continuousSyncTimer);
    handOverCollectedItems();
    noteWaiting();
}

void ContinuousSync::handOverCollectedItems() {
    std::vector<std::string> items = m_continuousSyncItems;
    if (items.empty()) return;
    m_continuousSyncItems.erase(m_continuousSyncItems.begin(),
                                m_continuousSyncItems.begin() + static_cast<std::ptrdiff_t>(items.size()));
    std::erase_if(items, [this](const std::string& item) { return isPassedOver(item); });
    _watchedSince.clear();
    if (items.empty()) return;
    for (const auto& [key, controller] : _registry.all()) {
        if (controller->isParticipatingInSync() && controller->continuousSyncState())
            controller->continuousSyncNow(items);
    }
    announceAgain(neighboursLeftOut(std::move(items)));
}

void ContinuousSync::announceAgain(const std::vector<std::string>& folders) {
    if (folders.empty()) return;
    m_continuousSyncItems.insert(m_continuousSyncItems.end(), folders.begin(), folders.end());
    mainThreadStartContinuousSyncTimer();
}

std::vector<std::string> ContinuousSync::waitingFoldersOf(VTSyncController& controller) const {
    std::vector<std::string> waiting;
    for (const std::string& folder : foldersOf(controller)) {
        const bool pending = std::find(m_continuousSyncItems.begin(), m_continuousSyncItems.end(), folder) !=
                             m_continuousSyncItems.end();
        if (pending && _watchedSince.count(folder) == 0) waiting.push_back(folder);
    }
    return waiting;
}

std::optional<std::chrono::milliseconds> ContinuousSync::quietTimeLeft() const {
    if (!m_continuousSyncTimer) return std::nullopt;
    const auto left = std::max(_quietUntil - _services.clock.steady(), std::chrono::nanoseconds(0));
    return std::chrono::duration_cast<std::chrono::milliseconds>(left);
}

void ContinuousSync::noteWaiting() const {
    if (waitingMayHaveChanged) waitingMayHaveChanged();
}

void ContinuousSync::sendActivityNotificationForced(bool forced, const std::optional<Value::Dictionary>& dictionary) {
    std::optional<Value::Dictionary> userInfo = dictionary;
    if (!userInfo) {
        if (const auto busy = _registry.isBusyController()) userInfo = busy->getCurrentProgressDict();
    }
    if (!userInfo && !forced) return;
    _services.notifications.post(activityName, application::notificationObject, userInfo, deliverImmediately);
}

} // namespace vt
