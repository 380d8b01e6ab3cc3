// Copies one item (a file, a link or a whole package) in the calling thread, counts its bytes and asks its delegate
// about every error. Thread: one; setCancelled() on any. Owns: its paths; neither service nor delegate.
// Errors: a yes or no; each error has gone to the delegate. Units: bytes; a leading "~" of a path is the home folder.
#pragma once

#include "base/Paths.h"
#include "platform/ItemCopyService.h"
#include "sync/copy/VTFileCopyAgentDelegate.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt {

class VTFileCopyAgent : private CopyObserver {
  public:
    enum class State : std::int32_t { ready = 0, copying = 1, cancelled = 2, finished = 3 };

    explicit VTFileCopyAgent(ItemCopyService& copier, std::optional<HomePaths> homePaths = std::nullopt);
    ~VTFileCopyAgent() override;

    // True only if the service reported success, items that the delegate skipped included. A second run carries the
    // byte counts over; a run inside a run is refused.
    bool performCopy();

    [[nodiscard]] bool cancelled() const { return _cancelled.load(); }
    void setCancelled(bool cancelled) { _cancelled.store(cancelled); }
    [[nodiscard]] VTFileCopyAgentDelegate* delegate() const { return _delegate; }
    void setDelegate(VTFileCopyAgentDelegate* delegate) { _delegate = delegate; }
    [[nodiscard]] const std::string& sourcePath() const { return _sourcePath; }
    void setSourcePath(std::string path) { _sourcePath = std::move(path); }
    [[nodiscard]] const std::string& destinationPath() const { return _destinationPath; }
    // The spelling is part of the interface.
    void setDestionationPath(std::string path) { _destinationPath = std::move(path); }
    [[nodiscard]] State state() const { return _state.load(); }
    void setState(State state) { _state.store(state); }
    [[nodiscard]] std::optional<std::int64_t> totalFinished() const { return _totalFinished; }
    void setTotalFinished(std::optional<std::int64_t> bytes) { _totalFinished = bytes; }
    [[nodiscard]] std::optional<std::int64_t> totalInProgress() const { return _totalInProgress; }
    void setTotalInProgress(std::optional<std::int64_t> bytes) { _totalInProgress = bytes; }

    // Of the last run: errors that the delegate was asked about, and items left out by its answers.
    [[nodiscard]] std::uint64_t errorsAsked() const { return _errorsAsked; }
    [[nodiscard]] std::uint64_t itemsSkipped() const { return _itemsSkipped; }

  protected:
    // The trace: every text is formed and discarded.
    virtual void logMessage(std::string_view text);

  private:
    CopyAnswer copyEvent(const CopyEvent& event) override;
    CopyAnswer fileEvent(const CopyEvent& event);
    CopyAnswer folderEvent(const CopyEvent& event);
    CopyAnswer dataEvent(const CopyEvent& event);
    CopyAnswer askDelegate(const CopyEvent& event);
    [[nodiscard]] std::string expanded(const std::string& path) const;

    ItemCopyService& _copier;
    std::optional<HomePaths> _homePaths;
    std::atomic<bool> _cancelled{false};
    VTFileCopyAgentDelegate* _delegate = nullptr;
    std::string _sourcePath;
    std::string _destinationPath;
    std::atomic<State> _state{State::ready};
    std::optional<std::int64_t> _totalFinished;
    std::optional<std::int64_t> _totalInProgress;
    std::uint64_t _errorsAsked = 0;
    std::uint64_t _itemsSkipped = 0;
    std::string _askedAbout; // the source path of the last question
    CopyAnswer _lastAnswer = CopyAnswer::goOn;
};

} // namespace vt
