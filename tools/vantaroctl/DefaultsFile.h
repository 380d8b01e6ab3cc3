// The agent's user defaults, changed from outside: one key at a time, everything else kept.
// Errors: a Failure that names the file, which then is as it was.
#pragma once

#include <QString>

namespace ctl {

class DefaultsFile {
  public:
    DefaultsFile();
    explicit DefaultsFile(QString path) : _path(std::move(path)) {}

    [[nodiscard]] const QString& path() const { return _path; }
    [[nodiscard]] bool boolean(const char* key) const; // false when missing
    // Replaces the file as a whole, or not at all.
    void setBoolean(const char* key, bool value) const;

  private:
    QString _path;
};

} // namespace ctl
