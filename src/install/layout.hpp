#pragma once

#include <optional>
#include <string>

namespace quillmark {

class Bundle;
class Directories;

/// Every place that an installation reads or writes, except the components folder (probes/relocation.hpp): a path, or
/// the name of an item that stringByAppendingPathComponent puts into its folder. Paths are absolute and UTF-8, formed
/// afresh at each call; nothing here looks at the file system.
namespace layout {

inline constexpr const char *systemApplicationCopy = "/Applications/Quillmark.app";
[[nodiscard]] std::string userApplicationCopy(Directories &directories);

/// The staging folder: deleted and made anew by each installation.
[[nodiscard]] std::string stagingFolder(Directories &directories);
[[nodiscard]] std::string markerFile(const std::string &stagingFolder);

/// The names of the copies in the staging folder, and in the temporary folder for the helper tool.
inline constexpr const char *application = "Quillmark.app";
inline constexpr const char *upScript = "client.up.tunnelblick.sh";
inline constexpr const char *downScript = "client.down.tunnelblick.sh";
inline constexpr const char *wireGuardComponent = "QuillmarkGuard";

/// What they are copied from. Nothing when the bundle lacks it.
[[nodiscard]] std::optional<std::string> applicationResource(Bundle &bundle);
[[nodiscard]] std::optional<std::string> upScriptResource(Bundle &bundle);
[[nodiscard]] std::optional<std::string> downScriptResource(Bundle &bundle);

/// Their names in the components folder and in the temporary folder, in the order in which they are handed over.
inline constexpr const char *vpnConfigurationFiles[] = {"ca.crt",      "client.crt", "client.key",
                                                        "client.ovpn", "login.conf", "ta.key"};

/// What is copied from the components folder. Nothing without such a folder.
[[nodiscard]] std::optional<std::string> componentSource(const std::optional<std::string> &componentsFolder,
                                                         const std::string &name);
/// The WireGuard component for a kind of Mac, which is put in as it stands.
[[nodiscard]] std::optional<std::string> wireGuardComponentSource(const std::optional<std::string> &componentsFolder,
                                                                  const std::optional<std::string> &macVersion);

}  // namespace layout

}  // namespace quillmark
