#include "platform/path.hpp"

namespace quillmark {

namespace {

void dropTrailingSeparators(std::string &path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
}

}  // namespace

std::string stringByAppendingPathComponent(const std::string &base, const std::string &component) {
  std::string joined;
  joined.reserve(base.size() + 1 + component.size());
  const std::string whole = base.empty() ? component : base + "/" + component;
  for (const char c : whole) {
    if (c == '/' && !joined.empty() && joined.back() == '/') continue;
    joined += c;
  }
  dropTrailingSeparators(joined);
  return joined;
}

std::string stringByDeletingLastPathComponent(const std::string &path) {
  std::string parent = path;
  dropTrailingSeparators(parent);
  const auto separator = parent.rfind('/');
  if (separator == std::string::npos) return "";
  parent.resize(separator == 0 ? 1 : separator);
  dropTrailingSeparators(parent);
  return parent;
}

}  // namespace quillmark
