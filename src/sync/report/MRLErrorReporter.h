// Stands between a file operation and the sync controller: counts an error, logs it, and decides whether the work goes
// on, by a preset mode or by asking the person. Thread: the drive's worker. Owns: nothing; the delegate is held weakly,
// and without one every question is answered "stop".
#pragma once

#include "base/Result.h"
#include "sync/report/ReporterDelegate.h"

#include <memory>
#include <optional>
#include <string>

namespace vt {

// The record of one failed step: "Path", "ToPath" (copies and moves only) and "Error".
struct ErrorDictionary {
    std::string path;
    std::optional<std::string> toPath;
    std::string error; // the error's text
    int code = 0;      // errno, 0 when unknown
};

class MRLErrorReporter {
  public:
    explicit MRLErrorReporter(std::weak_ptr<TreeDelegate> delegate);
    virtual ~MRLErrorReporter() = default;

    [[nodiscard]] std::shared_ptr<TreeDelegate> delegate() const { return _delegate.lock(); }
    void setDelegate(std::weak_ptr<TreeDelegate> delegate) { _delegate = std::move(delegate); }
    [[nodiscard]] int errorHandling() const { return _errorHandling; }
    void setErrorHandling(int mode) { _errorHandling = mode; } // 0 ask, above 0 go on, below 0 stop
    [[nodiscard]] int errorCount() const { return _errorCount; }
    void setErrorCount(int count) { _errorCount = count; }
    int incrementErrorCount() { return ++_errorCount; }
    [[nodiscard]] bool cancelPending() const;

    virtual void willProcessPath(const std::string& path) = 0;
    // True: go on.
    virtual bool shouldProceedAfterError(const ErrorDictionary& error) = 0;
    // The file services' own questions. A reporter that has no answer to one of them answers "stop".
    virtual bool shouldProceedAfterErrorRemovingItem(const Error& error, const std::string& path);
    virtual bool shouldProceedAfterErrorCopyingItem(const Error& error, const std::string& from, const std::string& to);
    virtual bool shouldProceedAfterErrorMovingItem(const Error& error, const std::string& from, const std::string& to);

  protected:
    // Asks the person in an alert; an answer to stop also marks the sync as cancelled. False without a delegate.
    [[nodiscard]] bool askPerson(const std::string& title, const std::string& message, bool withLogButton) const;

  private:
    std::weak_ptr<TreeDelegate> _delegate;
    int _errorHandling = 0;
    int _errorCount = 0;
};

} // namespace vt
