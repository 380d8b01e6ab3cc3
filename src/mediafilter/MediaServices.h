// How to find out what a media file holds and what a preference says, for a worker. One instance serves every drive.
// Thread: any worker, and the main thread.
// Errors: a file that cannot be read or is no movie gives a record that is not valid; only describe() says why.
#pragma once

#include "mediafilter/MediaFileCharacterization.h"
#include "platform/FileService.h"
#include "platform/MediaProbe.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vt {

class MediaServices {
  public:
    virtual ~MediaServices() = default;
    struct Answer {
        MediaFileCharacterization record;
        bool outOfTime = false; // not valid for now: asked again in the next pass
    };
    // `known`: the file's attributes after following a link; null when the caller has none.
    [[nodiscard]] virtual Answer characterize(const std::string& path, std::int32_t containerType,
                                              const FileAttributes* known) = 0;
    // Everything that a media file tells, looked up in the file itself now. Errors: those of MediaProbe and of reading;
    // ECANCELED when the process is ending.
    [[nodiscard]] virtual Result<MediaDescription> describe(const std::string& path) = 0;
    [[nodiscard]] virtual std::optional<std::string> photoBoothLibrary() = 0;
    virtual void passBegins() = 0; // of any drive: a moment to keep what was found out
};

} // namespace vt
