#pragma once

#include <optional>
#include <string>

namespace quillmark {

class Bundle;
class Directories;

/// Every place that an installation reads or writes, except the components folder (probes/relocation.hpp). Paths
/// are absolute and UTF-8, formed afresh at each call; nothing here looks at the file system. Bundle resources
/// are nothing when the bundle lacks them.
namespace layout {

inline constexpr const char *systemApplicationCopy = "/Applications/Quillmark.app";
[[nodiscard]] std::string userApplicationCopy(Directories &directories);

/// The staging folder: deleted and made anew by each installation.
[[nodiscard]] std::string stagingFolder(Directories &directories);
[[nodiscard]] std::string markerFile(const std::string &stagingFolder);
[[nodiscard]] std::string stagedUpScript(const std::string &stagingFolder);
[[nodiscard]] std::string stagedDownScript(const std::string &stagingFolder);

[[nodiscard]] std::optional<std::string> applicationResource(Bundle &bundle);
[[nodiscard]] std::optional<std::string> upScriptResource(Bundle &bundle);
[[nodiscard]] std::optional<std::string> downScriptResource(Bundle &bundle);

/// Where the component for a kind of Mac lies under the components folder. `macVersion` is put in as it stands.
[[nodiscard]] std::string wireGuardComponentPath(const std::optional<std::string> &macVersion);
[[nodiscard]] std::string temporaryWireGuardCopy(const std::string &temporaryDirectory);

/// What the helper tool is handed: everything directly in the temporary folder.
[[nodiscard]] std::string helperApplicationCopy(const std::string &temporaryDirectory);
[[nodiscard]] std::string helperUpScript(const std::string &temporaryDirectory);
[[nodiscard]] std::string helperDownScript(const std::string &temporaryDirectory);

/// Their names in the components folder and in the temporary folder, in the order in which they are handed over.
inline constexpr const char *vpnConfigurationFiles[] = {"ca.crt",      "client.crt", "client.key",
                                                        "client.ovpn", "login.conf", "ta.key"};

}  // namespace layout

}  // namespace quillmark
