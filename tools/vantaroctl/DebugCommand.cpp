#include "vantaroctl/Commands.h"
#include "vantaroctl/DefaultsFile.h"
#include "vantaroctl/Failure.h"
#include "vantaroctl/Settings.h"
#include "vantaroctl/Terminal.h"

namespace ctl {

namespace {
constexpr const char* debugKey = "debug";
}

int switchDebug(const CommandLine& line) {
    const DefaultsFile defaults;
    if (line.arguments.isEmpty())
        printLine(defaults.boolean(debugKey) ? "on" : "off");
    else
        defaults.setBoolean(debugKey, booleanOf(line.arguments[0]));
    return done;
}

} // namespace ctl
