// Which served drive a person means: by a path at or below its mount point, or by its name.
#pragma once

#include <QJsonArray>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace ctl {

enum class PathsBelow : std::uint8_t { name, doNotName };

// The mount point of the drive that `word` means. `paths` are the paths that it may be, absolute; `served` is what
// "drives --json" prints. A Failure where it means none, or several by their name.
[[nodiscard]] QString driveMeant(const QString& word, const QStringList& paths, const QJsonArray& served,
                                 PathsBelow below);

} // namespace ctl
