// Where this user's files lie, as the agent sees it: $HOME when it is absolute, else the user database.
#pragma once

#include <QString>

namespace ctl {

[[nodiscard]] QString homeFolder();
[[nodiscard]] QString configFolder(); // $XDG_CONFIG_HOME when absolute, else ~/.config

} // namespace ctl
