#include "platform/qt/QtIntrospection.h"

namespace vt::qtbus {

// packaging/com.corvane.vantaro.xml, byte for byte; a test compares the two.
const char* const introspectionXml =
    R"xml(<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
<node name="/com/corvane/vantaro">
  <!-- Scripting events. A descriptor is (typeCode, value): the value is ay for a leaf (raw bytes, 32-bit integers
       big-endian), a(sv) for a list, a{s(sv)} for a record. Keys are four-character keywords. -->
  <interface name="com.corvane.vantaro.Events">
    <method name="Send">
      <arg name="eventClass" type="s" direction="in"/>
      <arg name="eventID" type="s" direction="in"/>
      <arg name="parameters" type="a{s(sv)}" direction="in"/>
      <arg name="reply" type="a{s(sv)}" direction="out"/>
    </method>
  </interface>
  <interface name="com.corvane.vantaro.Drives">
    <method name="List">
      <arg name="drives" type="aa{sv}" direction="out"/>
    </method>
    <method name="Volumes">
      <arg name="volumes" type="aa{sv}" direction="out"/>
    </method>
    <method name="Adopt">
      <arg name="path" type="s" direction="in"/>
      <arg name="drive" type="a{sv}" direction="out"/>
    </method>
    <method name="Forget">
      <arg name="path" type="s" direction="in"/>
    </method>
    <method name="Progress">
      <arg name="path" type="s" direction="in"/>
      <arg name="progress" type="a{sv}" direction="out"/>
    </method>
    <method name="Eject">
      <arg name="path" type="s" direction="in"/>
    </method>
    <method name="Explain">
      <arg name="path" type="s" direction="in"/>
      <arg name="file" type="s" direction="in"/>
      <arg name="answer" type="a{sv}" direction="out"/>
    </method>
    <method name="Waiting">
      <arg name="drives" type="aa{sv}" direction="out"/>
    </method>
    <signal name="Appeared">
      <arg name="mountPoint" type="s"/>
    </signal>
    <signal name="Disappeared">
      <arg name="mountPoint" type="s"/>
    </signal>
    <!-- Changed folders wait for the end of the quiet period; no folders: nothing waits for that drive any more. -->
    <signal name="WaitingChanged">
      <arg name="mountPoint" type="s"/>
      <arg name="folders" type="as"/>
      <arg name="secondsLeft" type="d"/>
    </signal>
  </interface>
  <interface name="com.corvane.vantaro.Notifications">
    <signal name="Posted">
      <arg name="name" type="s"/>
      <arg name="object" type="s"/>
      <arg name="userInfo" type="a{sv}"/>
    </signal>
  </interface>
</node>
)xml";

} // namespace vt::qtbus
