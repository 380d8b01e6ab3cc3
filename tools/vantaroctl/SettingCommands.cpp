#include "vantaroctl/Commands.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Settings.h"
#include "vantaroctl/Terminal.h"

#include <algorithm>
#include <array>

namespace ctl {

namespace {

struct Setting {
    const char* name;
    const char* getter;
    const char* setter; // null: it can only be asked
    const char* keyword;
};

constexpr std::array<Setting, 9> settings = {{
    {"continuous", "GCSS", "SCSS", "CSSP"},
    {"movies", "GSMS", "SSMS", "SMSP"},
    {"music", "GSSS", "SSSS", "SSSP"},
    {"pictures", "GSPS", "SSPS", "SPSP"},
    {"documents", "GSDS", "SSDS", "SDSP"},
    {"participate", "GPSS", "SPSS", "PSSP"},
    {"quiet", "GQSS", "SQSS", "QSSP"},
    {"device-filter", "GSDF", "SSDF", "SDFP"},
    {"valid", "DHFS", nullptr, ""},
}};

struct DeviceClass {
    const char* name;
    qint32 filter;
};

constexpr std::array<DeviceClass, 8> deviceClasses = {{
    {"unlimited", 0},
    {"apple-high", 1},
    {"apple-unlimited", 2},
    {"apple-low", 4},
    {"android", 5},
    {"kindle-fire", 6},
    {"kindle-fire-hd", 7},
    {"windows-rt", 8},
}};

const Setting& settingNamed(const QByteArray& name, bool writable) {
    const auto found =
        std::find_if(settings.begin(), settings.end(), [&](const Setting& setting) { return name == setting.name; });
    if (found == settings.end() || (writable && found->setter == nullptr))
        throw Failure{usageError, QString("unknown setting \"%1\"; it is one of %2")
                                      .arg(QString::fromUtf8(name), settingNames(writable).join(", "))};
    return *found;
}

qint32 filterOf(const QByteArray& text) {
    bool ok = false;
    const int number = text.toInt(&ok);
    if (ok && number >= 0 && number <= 8) return number;
    for (const DeviceClass& deviceClass : deviceClasses) {
        if (text == deviceClass.name) return deviceClass.filter;
    }
    throw Failure{usageError, "\"" + QString::fromUtf8(text) + "\" is no device filter: 0 to 8 or a class name"};
}

} // namespace

bool booleanOf(const QByteArray& text) {
    const QByteArray lower = text.toLower();
    if (lower == "on" || lower == "true" || lower == "yes" || lower == "1") return true;
    if (lower == "off" || lower == "false" || lower == "no" || lower == "0") return false;
    throw Failure{usageError, "\"" + QString::fromUtf8(text) + "\" is neither on nor off"};
}

QStringList settingNames(bool writable) {
    QStringList names;
    for (const Setting& setting : settings)
        if (!writable || setting.setter != nullptr) names.append(setting.name);
    return names;
}

QStringList deviceClassNames() {
    QStringList names;
    for (const DeviceClass& deviceClass : deviceClasses) names.append(deviceClass.name);
    return names;
}

int getSetting(const CommandLine& line) {
    const Setting& setting = settingNamed(line.arguments[1], false);
    Agent agent;
    const Descriptor value = agent.send(setting.getter, agent.resolve(line.arguments[0])).value("----");
    if (const auto number = integerOf(value))
        printLine(QString::number(*number));
    else
        printLine(value.type == "true" ? "on" : "off");
    return done;
}

int setSetting(const CommandLine& line) {
    const Setting& setting = settingNamed(line.arguments[1], true);
    const bool isFilter = QByteArray(setting.name) == "device-filter";
    const Descriptor value =
        isFilter ? integerDescriptor(filterOf(line.arguments[2])) : booleanDescriptor(booleanOf(line.arguments[2]));
    Agent agent;
    agent.send(setting.setter, agent.resolve(line.arguments[0]), {{setting.keyword, value}});
    return done;
}

} // namespace ctl
