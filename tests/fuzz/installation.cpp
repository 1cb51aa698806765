#include "install/installation.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <stdexcept>

#include "fuzz/subject.hpp"
#include "platform/path.hpp"
#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark::fuzz {

namespace {

bool has(const std::string &text, char letter) { return text.find(letter) != std::string::npos; }

bool isAtOrBelow(const std::string &path, const std::string &folder) {
  return path == folder || path.compare(0, folder.size() + 1, folder + "/") == 0;
}

using Contents = std::set<std::pair<std::string, std::optional<std::string>>>;

Contents contents(const fake::FakeFileManager &files) {
  Contents found;
  for (const std::string &path : files.tree("/")) found.emplace(path, files.at(path));
  return found;
}

/// Installs, and answers whether the installation came to its end by itself.
bool install(fake::FakeMac &mac, bool managed) {
  try {
    if (managed) {
      installQuillmarkApplicationRMM(mac.mac(), mac.delegate);
    } else {
      installQuillmarkApplication(mac.mac(), mac.delegate);
    }
    return true;
  } catch (const std::out_of_range &) {
    return false;
  } catch (const TaskLaunchError &) {
    return false;
  }
}

}  // namespace

// How it is installed ("m" managed, "r" relocated, "o" from a known place, "s" without a shell), the release, the
// processor, the two identifiers, and below fixed folders the home, the temporary folder, the bundle and its original.
void check(const Texts &texts) {
  const std::string how = at(texts, 0);
  const bool managed = has(how, 'm');
  fake::FakeMac mac;
  mac.directories.home = stringByAppendingPathComponent("/Users/", at(texts, 5));
  mac.directories.temporary = "/private/var/" + at(texts, 6);
  mac.mainBundle.path = stringByAppendingPathComponent("/Volumes/", at(texts, 7));
  mac.userDefaults.values = {{"partnerID", at(texts, 3)}, {"teamID", at(texts, 4)}};
  if (has(how, 'r')) {
    mac.application.version = 2487.0;
    mac.dynamicLoader.flag = 1;
    if (has(how, 'o')) mac.dynamicLoader.originalPath = stringByAppendingPathComponent("/Volumes/", at(texts, 8));
  }
  const std::string staging = mac.directories.home + "/Quillmark_Components";
  const std::string userCopy = mac.directories.home + "/Applications/Quillmark.app";
  const std::string temporary = stringByAppendingPathComponent(mac.directories.temporary, "");
  const std::string temporaryCopy = temporary + "/QuillmarkGuard";
  mac.fileManager.addFolder(mac.directories.home + "/Applications");
  mac.fileManager.addFolder(temporary);
  // The fake shell fails the test for any other line: neither release nor identifiers nor the bundle's path get there.
  mac.shellTask.outputs = {
      {fake::releaseCommand, at(texts, 1)}, {"uname -m", at(texts, 2)}, {"cp -R " + temporaryCopy + " " + staging, ""}};
  mac.shellTask.shellIsMissing = has(how, 's');

  const auto before = contents(mac.fileManager);
  const bool ended = install(mac, managed);
  const auto after = contents(mac.fileManager);
  Contents changes;
  std::set_symmetric_difference(before.begin(), before.end(), after.begin(), after.end(),
                                std::inserter(changes, changes.end()));
  for (const auto &[path, content] : changes) {
    EXPECT_TRUE(isAtOrBelow(path, staging) || isAtOrBelow(path, "/Applications/Quillmark.app") ||
                isAtOrBelow(path, userCopy) || isAtOrBelow(path, temporaryCopy))
        << path << " is no place of an installation";
  }

  const bool terminated = fake::contains(mac.journal, "terminate");
  EXPECT_TRUE(ended || !managed) << "a managed run ends the application, whatever it meets";
  EXPECT_EQ(terminated, managed || !mac.alertPanel.shown.empty());
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->installed, ended && !terminated);
  EXPECT_EQ(fake::FakeURLs::alive, 0);
  if (!mac.alertPanel.shown.empty()) {
    EXPECT_TRUE(changes.empty()) << "it was refused in an alert";
  } else {
    EXPECT_EQ(mac.fileManager.at("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
    EXPECT_EQ(mac.fileManager.at(staging + "/client.up.tunnelblick.sh"), "up");
    EXPECT_EQ(mac.fileManager.at(staging + "/client.down.tunnelblick.sh"), "down");
  }
}

}  // namespace quillmark::fuzz
