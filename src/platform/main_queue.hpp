#pragma once

#include <functional>

namespace quillmark {

/// The main thread's two queues. Work handed over on either never runs inside the call that hands it over; it
/// runs on the main thread, one at a time and in order, when that thread next serves its queues, and is let go
/// of as soon as it has run. It must not throw. Any thread.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// dispatch_async on dispatch_get_main_queue().
  virtual void dispatchAsync(std::function<void()> work) = 0;

  /// -[NSOperationQueue addOperationWithBlock:] on the main operation queue.
  virtual void addOperation(std::function<void()> work) = 0;
};

}  // namespace quillmark
