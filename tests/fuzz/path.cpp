#include "platform/path.hpp"

#include <algorithm>

#include "fuzz/subject.hpp"

namespace quillmark::fuzz {

namespace {

bool isNormal(const std::string &path) {
  const bool endsInSeparator = path.size() > 1 && path.back() == '/';
  return path.find("//") == std::string::npos && !endsInSeparator;
}

std::string withoutSeparators(std::string path) {
  path.erase(std::remove(path.begin(), path.end(), '/'), path.end());
  return path;
}

void checkAppending(const std::string &base, const std::string &component) {
  const std::string joined = stringByAppendingPathComponent(base, component);
  EXPECT_TRUE(isNormal(joined)) << joined;
  EXPECT_LE(joined.size(), base.size() + 1 + component.size());
  EXPECT_EQ(joined.empty(), base.empty() && component.empty());
  EXPECT_EQ(withoutSeparators(joined), withoutSeparators(base) + withoutSeparators(component));
  EXPECT_EQ(stringByAppendingPathComponent(joined, ""), joined) << "joining again changes nothing";

  const std::string folder = stringByAppendingPathComponent(base, "");
  const std::string prefix = folder.empty() || folder == "/" ? folder : folder + "/";
  EXPECT_TRUE(joined == folder || joined.compare(0, prefix.size(), prefix) == 0) << joined << " is not in " << folder;
  const bool oneLevel = !component.empty() && component.find('/') == std::string::npos;
  if (oneLevel && !base.empty()) {
    EXPECT_EQ(stringByDeletingLastPathComponent(joined), folder);
  }
}

void checkDeleting(const std::string &path) {
  const bool isAbsolute = !path.empty() && path[0] == '/';
  std::string folder = path;
  for (std::size_t step = 0; step <= path.size(); ++step) {
    const std::string parent = stringByDeletingLastPathComponent(folder);
    EXPECT_EQ(folder.compare(0, parent.size(), parent), 0) << parent << " is not above " << folder;
    EXPECT_EQ(!parent.empty() && parent[0] == '/', isAbsolute) << parent << " of " << folder;
    EXPECT_TRUE(parent.size() <= 1 || parent.back() != '/') << parent;
    if (parent == folder) break;
    EXPECT_LT(parent.size(), folder.size());
    folder = parent;
  }
  EXPECT_EQ(folder, isAbsolute ? "/" : "") << "going up ends at the top";
}

}  // namespace

void check(const Texts &texts) {
  checkAppending(at(texts, 0), at(texts, 1));
  checkDeleting(at(texts, 0));
}

}  // namespace quillmark::fuzz
