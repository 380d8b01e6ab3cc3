// Media files through the system's demuxers: header only, nothing is decoded beyond what names a picture's size.
// Thread: as MediaProbe. Errors: as MediaProbe; a demuxer never sees the disk and never opens a second file.
#pragma once

#include "platform/MediaProbe.h"
#include "platform/linux/media/MediaFileBytes.h"

#include <memory>
#include <string>

namespace vt {

class LinuxMediaProbe final : public MediaProbe {
  public:
    explicit LinuxMediaProbe(const MediaBudget& budget = {});
    [[nodiscard]] Result<std::unique_ptr<MediaFile>> open(const std::string& path) override;
    [[nodiscard]] Result<MediaDescription> describe(MediaFile& file) override;

  private:
    const MediaBudget _budget;
};

} // namespace vt
