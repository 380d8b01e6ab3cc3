#include "vantaroctl/DefaultsFile.h"

#include "vantaroctl/Failure.h"
#include "vantaroctl/UserFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace ctl {

namespace {

// Small enough that no nesting inside it is too deep for the library.
constexpr qint64 largestFile = qint64{128} * 1024;

using Plist = std::unique_ptr<void, decltype(&plist_free)>;

Failure broken(const QString& path, const QString& why) {
    return {agentError, QString("%1: %2").arg(path, why)};
}

// A missing file is an empty dictionary.
Plist readDictionary(const QString& path) {
    QFile file(path);
    if (!file.exists()) return {plist_new_dict(), plist_free};
    // A pipe would be waited for.
    if (!QFileInfo(path).isFile()) throw broken(path, "it is no file");
    if (!file.open(QIODevice::ReadOnly)) throw broken(path, file.errorString());
    const QByteArray bytes = file.read(largestFile + 1);
    if (bytes.size() > largestFile) throw broken(path, "the file is too large");
    plist_t root = nullptr;
    if (bytes.startsWith("bplist"))
        plist_from_bin(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    else if (bytes.contains("</plist>"))
        plist_from_xml(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    Plist owned(root, plist_free);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) throw broken(path, "no property list dictionary");
    return owned;
}

// What a person wrote by hand may be a number or a word.
bool isTrue(plist_t node) {
    uint8_t flag = 0;
    uint64_t number = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        plist_get_bool_val(node, &flag);
        return flag != 0;
    case PLIST_UINT:
        plist_get_uint_val(node, &number);
        return number != 0;
    case PLIST_STRING: {
        const char* text = plist_get_string_ptr(node, nullptr);
        return text != nullptr && QByteArray("YyTt123456789").contains(text[0]) && text[0] != '\0';
    }
    default:
        return false;
    }
}

QByteArray xml(plist_t root) {
    char* text = nullptr;
    uint32_t length = 0;
    plist_to_xml(root, &text, &length);
    QByteArray bytes(text, static_cast<qsizetype>(length));
    std::free(text);
    return bytes;
}

} // namespace

DefaultsFile::DefaultsFile() : _path(configFolder() + "/com.corvane.vantaro/defaults.plist") {}

bool DefaultsFile::boolean(const char* key) const {
    const Plist root = readDictionary(_path);
    const plist_t node = plist_dict_get_item(root.get(), key);
    return node != nullptr && isTrue(node);
}

void DefaultsFile::setBoolean(const char* key, bool value) const {
    const Plist root = readDictionary(_path);
    plist_dict_set_item(root.get(), key, plist_new_bool(value ? 1 : 0));
    const QFileInfo info(_path);
    const auto onlyOwner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    if (!info.dir().exists() && !QDir().mkpath(info.absolutePath())) throw broken(_path, "the folder cannot be made");
    QSaveFile file(_path); // writes beside the file and renames
    if (!file.open(QIODevice::WriteOnly)) throw broken(_path, file.errorString());
    if (!info.exists()) file.setPermissions(onlyOwner);
    const QByteArray bytes = xml(root.get());
    if (file.write(bytes) != bytes.size() || !file.commit()) throw broken(_path, file.errorString());
}

} // namespace ctl
