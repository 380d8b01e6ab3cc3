// The settings of a drive by the names that the command line uses.
#pragma once

#include <QByteArray>
#include <QStringList>

namespace ctl {

[[nodiscard]] QStringList settingNames(bool writable); // only those that can be set, or all
[[nodiscard]] QStringList deviceClassNames();
// on, true, yes, 1 and off, false, no, 0, in any case; a Failure otherwise.
[[nodiscard]] bool booleanOf(const QByteArray& text);

} // namespace ctl
