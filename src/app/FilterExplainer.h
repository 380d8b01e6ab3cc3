// Explains for one file what a drive's media filter says about it and why. The file is looked at on a thread of its
// own, so that neither the main thread nor a drive's worker waits for a slow disk. Thread: main. Errors: through
// `done`: ENXIO where nothing is at the path, EINVAL for a path that is not absolute, EBUSY while too many files are
// being looked at. Owns: the questions that are open.
#pragma once

#include "app/MediaSettings.h"
#include "base/Result.h"
#include "base/Value.h"
#include "mediafilter/ExclusionTables.h"
#include "mediafilter/MediaServices.h"
#include "platform/FileService.h"
#include "platform/RunLoop.h"
#include "platform/WorkerThreads.h"

#include <functional>
#include <memory>
#include <string>

namespace vt {

class FilterExplainer {
  public:
    using Completion = std::function<void(Result<Value::Dictionary>)>;
    // All outlive the threads that look at files. `files` is bound to no drive.
    struct Services {
        RunLoop& runLoop;
        WorkerThreads* threads; // null: no file can be looked at
        MediaServices* media;   // null: no media file is valid
        const ExclusionTables& exclusions;
        FileService& files;
        std::string home;
    };
    explicit FilterExplainer(Services services);
    ~FilterExplainer();

    // The drive's settings count as they are now. `done` is called once, later, on the main thread; never after this
    // object's end. The dictionary's keys are those of the bus.
    void explain(VTSyncController& controller, const std::string& path, Completion done);

  private:
    struct Question;
    struct Open;
    // On the thread that looks.
    [[nodiscard]] static Result<Value::Dictionary> answerTo(const Question& question, MediaServices* media);
    Services _services;
    std::shared_ptr<Open> _open;
};

} // namespace vt
