// The keys and names of a drive's configuration file. Current files carry version 3 and look like this:
//
//   config-version        3
//   sync-type             "ptop", "ctoc" or "UNKNOWN-SYNC-TYPE": of the instance that made the file; never read
//   ptop-list             { <host-user id> = { sync-path = <machine name>; items-to-sync = ( … ); }; }
//   items-to-sync         ( … )    the one shared list of the "ctoc" type
//   sync-user-list        ( <host-user id>, … )    in order of joining
//   <host-user id>        { that user's settings }
//
// The old format has "pushkey-uuid" and "pushkey-items-to-sync".
#pragma once

namespace vt::configkeys {

inline constexpr const char* fileName = ".VantaroConfig";
inline constexpr const char* version = "config-version";
inline constexpr const char* syncType = "sync-type";
inline constexpr const char* ptopList = "ptop-list";
inline constexpr const char* itemsToSync = "items-to-sync";
inline constexpr const char* syncUserList = "sync-user-list";
inline constexpr const char* syncPath = "sync-path";
inline constexpr const char* oldUuid = "pushkey-uuid";
inline constexpr const char* oldItemsToSync = "pushkey-items-to-sync";
inline constexpr int currentVersion = 3;

} // namespace vt::configkeys
