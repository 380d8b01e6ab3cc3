// Keeps connected drives up to date: watches the folders of their sync lists, collects what changed, and hands it over
// after a quiet period. Also broadcasts the sync activity. Thread: main. Owns: the event streams, the pending items and
// the quiet timer.
#pragma once

#include "app/ApplicationServices.h"
#include "app/SyncControllerRegistry.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vt {

class ContinuousSync {
  public:
    // `runningOnLeopardOrLater`: watch here; otherwise a helper process is told what to watch.
    ContinuousSync(ApplicationServices& services, SyncControllerRegistry& registry, LogSink& log,
                   std::function<bool()> runningOnLeopardOrLater);

    void startActivityTimer(); // every 2.0 seconds
    void updateContinuousSyncSettings();
    void setContinuousSyncNotificationsEnabled(bool enabled);
    void mainThreadEventDataReceived(const std::string& bytes);
    void mainThreadAddContinuousSyncItems(const std::vector<std::string>& paths);
    // Starts or stops the timer on the main thread and waits for that. Any thread.
    void enableContinuousSyncTimer(bool enable);
    void mainThreadStartContinuousSyncTimer();
    void mainThreadStopContinuousSyncTimer();
    void continuousSyncTimerFired();
    // Unforced with nobody busy: no post. A missing dictionary is the busy controller's, even another drive's.
    void sendActivityNotificationForced(bool forced, const std::optional<Value::Dictionary>& dictionary);
    void tearDownFSEventStreams();
    void dropItems() { m_continuousSyncItems.clear(); }
    [[nodiscard]] const std::vector<std::string>& continuousSyncItems() const { return m_continuousSyncItems; }
    // The drive's folders that are known to have changed and wait for the end of the quiet period.
    [[nodiscard]] std::vector<std::string> waitingFoldersOf(VTSyncController& controller) const;
    [[nodiscard]] std::optional<std::chrono::milliseconds> quietTimeLeft() const; // null: nothing waits
    // Called when what waits, for whom, or until when may have changed. May be empty.
    std::function<void()> waitingMayHaveChanged;
    [[nodiscard]] std::size_t streamCount() const { return m_fsEventStreams.size(); }

  private:
    void handOverCollectedItems();
    void noteWaiting() const;
    void updateFSEventSettings();
    void updateHelperToolSettings();
    void createFSEventStreamsForPaths(const std::vector<std::string>& folders);
    void postChangeOf(const std::string& folder);
    // The folder has come to be watched: what changed in it before may be unknown.
    void watchingBegan(const std::string& folder);
    // Every drive that has the folder in its list has begun a pass over all of it since it came to be watched.
    [[nodiscard]] bool isPassedOver(const std::string& folder) const;
    // They changed too, but the sync that was just handed over does not look at them.
    void announceAgain(const std::vector<std::string>& folders);
    [[nodiscard]] std::vector<std::string> foldersOf(VTSyncController& controller) const;
    [[nodiscard]] std::vector<std::string> watchedFolders() const;

    ApplicationServices& _services;
    SyncControllerRegistry& _registry;
    LogSink& _log;
    std::function<bool()> _runningOnLeopardOrLater;
    std::unique_ptr<Timer> m_continuousSyncTimer;
    std::chrono::nanoseconds _quietUntil{0}; // by the steady clock, while that timer runs
    std::unique_ptr<Timer> m_syncActivityTimer;
    std::vector<std::string> m_continuousSyncItems; // arrival order, duplicates allowed
    std::vector<std::unique_ptr<FileEventStream>> m_fsEventStreams;
    FileEventSettings m_fsEventSettings;
    // Pending folders that only came to be watched, with the time of that; nothing in them is known to have changed.
    std::map<std::string, Date> _watchedSince;
    bool _bAreContinuousSyncsEnabled = false;
    std::unique_ptr<Notifications::Observation> _eventDataObservation;
    std::unique_ptr<Notifications::Observation> _refreshObservation;
};

} // namespace vt
