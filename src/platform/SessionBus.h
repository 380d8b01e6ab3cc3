// The agent's place on the user's session bus: scripting events, the drives, and signals about them.
// Thread: main; every request is delivered there. Errors: see each operation; an error's code decides the bus error's
// name
//   (ENOENT: the drive is not served; ENXIO: nothing is at a path; EBUSY: a sync is in progress; anything else:
//   failed), its text is the message.
#pragma once

#include "base/EventDescriptor.h"
#include "base/Result.h"
#include "base/Value.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vt {

struct BusEvent {
    FourCharCode eventClass;
    FourCharCode eventId;
    EventDescriptor::Record parameters;
    bool wantsReply = true; // otherwise the reply is the null reply
};

// Changed folders of a drive that wait for the end of the quiet period; none: nothing waits any more.
struct DriveWaiting {
    std::string mountPoint;
    std::vector<std::string> folders; // absolute
    double secondsLeft = 0;
};

// What the bus asks of the application. Completions may be called at once or later, each exactly once, on the main
// thread.
class BusService {
  public:
    using DriveCompletion = std::function<void(Result<Value::Dictionary>)>;
    using Completion = std::function<void(Result<void>)>;

    virtual ~BusService() = default;
    // The reply's parameters; what must come after the reply (an alert) is scheduled, not done inside. ENOSYS: unknown
    // event.
    virtual Result<EventDescriptor::Record> event(const BusEvent& event) = 0;
    virtual std::vector<Value::Dictionary> drives() = 0;
    virtual std::vector<Value::Dictionary> volumes() = 0;
    virtual void adopt(const std::string& path, DriveCompletion done) = 0;
    virtual void forget(const std::string& path, Completion done) = 0;
    // Answered behind every notification that was handed over before the question: who reads that a drive is idle has
    // heard of the end of its sync.
    virtual void progress(const std::string& path, DriveCompletion done) = 0;
    virtual void eject(const std::string& path, Completion done) = 0;
    // What the drive's media filter says about a file, and why.
    virtual void explain(const std::string& drive, const std::string& path, DriveCompletion done) = 0;
    virtual std::vector<Value::Dictionary> waiting() = 0; // the drives that changes wait for
    // Somebody asked for it, or the bus has ended.
    virtual void quit() = 0;
};

class SessionBus {
  public:
    virtual ~SessionBus() = default;
    // Exports the object and takes the name. EEXIST: another agent owns it; ENOTCONN: there is no bus (the agent goes
    // on without).
    [[nodiscard]] virtual Result<void> start(BusService& service) = 0;
    virtual void driveAppeared(const std::string& mountPoint) = 0;
    virtual void driveDisappeared(const std::string& mountPoint) = 0;
    virtual void changesWait(const DriveWaiting& drive) = 0;
    virtual void stop() = 0;
};

} // namespace vt
