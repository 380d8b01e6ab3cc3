// Decodes the status reply: a keyed archive in a binary property list.
#pragma once

#include <QByteArray>
#include <QJsonObject>

namespace ctl {

// Keyed by host-user identifier. Failure when the bytes are no such archive.
[[nodiscard]] QJsonObject decodeStatus(const QByteArray& archive);

} // namespace ctl
