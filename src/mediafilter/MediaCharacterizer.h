// Finds out what media files hold: the worker reads, the main thread looks at what was read while the worker waits.
// Remembers the last record, and with a cache those of earlier runs.
// Thread: any worker, and the main thread. The main thread must not wait for a worker.
// Owns: the remembered record, guarded by a lock that is never held while a file is read.
#pragma once

#include "mediafilter/CharacterizationCache.h"
#include "mediafilter/MediaServices.h"
#include "platform/MediaProbe.h"
#include "platform/Preferences.h"
#include "platform/RunLoop.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace vt {

class MediaCharacterizer final : public MediaServices {
  public:
    // `cache` may be null; everything outlives this object.
    MediaCharacterizer(RunLoop& runLoop, MediaProbe& probe, Preferences& preferences, FileService& files,
                       CharacterizationCache* cache);

    [[nodiscard]] Answer characterize(const std::string& path, std::int32_t containerType,
                                      const FileAttributes* known) override;
    [[nodiscard]] Result<MediaDescription> describe(const std::string& path) override;
    [[nodiscard]] std::optional<std::string> photoBoothLibrary() override;
    void passBegins() override;

  private:
    enum class Outcome : std::uint8_t { certain, unreadable, outOfTime };
    // Fills `record` from the file itself.
    [[nodiscard]] Outcome characterizeVideo(const std::string& path, MediaFileCharacterization& record,
                                            std::int32_t containerType);
    using Take = std::function<void(const MediaDescription& movie)>;
    // Reads here and looks on the main thread, in turns, until `take` has got the file's description there.
    [[nodiscard]] Result<void> examine(const std::string& path, const Take& take);
    // On the main thread; the error says whether the worker has to read more.
    [[nodiscard]] Result<void> examineInner(const std::string& path, MediaFile& file, const Take& take);
    [[nodiscard]] std::optional<MediaFileCharacterization> remembered(const std::string& path,
                                                                      const FileAttributes& file);
    void remember(const std::string& path, const FileAttributes& file, const MediaFileCharacterization& record);

    RunLoop& _runLoop;
    MediaProbe& _probe;
    Preferences& _preferences;
    FileService& _files;
    CharacterizationCache* _cache;

    std::mutex _lock;
    struct Remembered {
        std::string path;
        std::uint64_t size = 0;
        Date modified;
        MediaFileCharacterization record;
    };
    std::optional<Remembered> _last;
};

} // namespace vt
