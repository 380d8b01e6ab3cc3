// Media files whose content a test states: a description or an error by path. What is not stated is no movie.
// Thread: as MediaProbe; stated before the workers start.
#pragma once

#include "platform/MediaProbe.h"

#include <cerrno>
#include <map>
#include <string>
#include <utility>

namespace vt {

class FakeMediaProbe final : public MediaProbe {
  public:
    struct File {
        MediaDescription movie;
        int error = 0;        // of describe()
        int openError = 0;    // of open()
        int roundsToRead = 0; // describe() misses bytes so often
        int readError = 0;    // of readMore()
    };
    std::map<std::string, File> files;
    int opened = 0;    // calls
    int described = 0; // calls

    [[nodiscard]] Result<std::unique_ptr<MediaFile>> open(const std::string& path) override {
        ++opened;
        const auto found = files.find(path);
        if (found == files.end()) return std::unique_ptr<MediaFile>(std::make_unique<Opened>(path, File{{}, EINVAL}));
        if (found->second.openError != 0) return Error::fromErrno(found->second.openError, path);
        return std::unique_ptr<MediaFile>(std::make_unique<Opened>(path, found->second));
    }
    [[nodiscard]] Result<MediaDescription> describe(MediaFile& file) override {
        ++described;
        auto& known = static_cast<Opened&>(file);
        if (known.file.roundsToRead > 0) return Error::fromErrno(EAGAIN, known.path);
        if (known.file.error != 0) return Error::fromErrno(known.file.error, known.path);
        return known.file.movie;
    }

  private:
    struct Opened final : MediaFile {
        Opened(std::string path_, File file_) : path(std::move(path_)), file(std::move(file_)) {}
        [[nodiscard]] Result<void> readMore() override {
            --file.roundsToRead;
            if (file.readError != 0) return Error::fromErrno(file.readError, path);
            return {};
        }
        std::string path;
        File file;
    };
};

} // namespace vt
