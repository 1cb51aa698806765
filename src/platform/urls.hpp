#pragma once

#include <optional>
#include <string>

namespace quillmark {

/// A CFURLRef, without Core Foundation's headers.
using URLRef = const void *;

/// File URLs by Core Foundation's ownership rule. Any thread.
class URLs {
 public:
  virtual ~URLs() = default;

  /// A new file URL, to be released once.
  [[nodiscard]] virtual URLRef createFileURL(const std::string &path) = 0;

  /// The URL's path, or nothing for a null URL.
  [[nodiscard]] virtual std::optional<std::string> path(URLRef url) = 0;

  /// Does nothing for a null URL.
  virtual void release(URLRef url) = 0;
};

/// Releases its URL once, at the end of its scope.
class OwnedURL {
 public:
  OwnedURL(URLs &urls, URLRef url) : urls_(urls), url_(url) {}
  ~OwnedURL() { urls_.release(url_); }
  OwnedURL(const OwnedURL &) = delete;
  OwnedURL &operator=(const OwnedURL &) = delete;

  [[nodiscard]] URLRef get() const { return url_; }

 private:
  URLs &urls_;
  URLRef url_;
};

}  // namespace quillmark
