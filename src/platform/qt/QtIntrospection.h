// The introspection text of the exported object: the same bytes as the installed interface file. Thread: any.
#pragma once

namespace vt::qtbus {

extern const char* const introspectionXml;

} // namespace vt::qtbus
