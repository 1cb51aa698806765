// The main dispatch queue, and a main operation queue that keeps its promises: GNUstep's own runs operations on pool
// threads and out of order. Both are one first-in-first-out queue, served by the main thread's run loop in its
// default, modal and event tracking modes. As on a Mac, an operation that runs a nested loop (a modal alert) holds
// back the ones behind it.

#import <AppKit/AppKit.h>
#include <dispatch/dispatch.h>

#include <deque>
#include <mutex>

struct DispatchMainQueue {
  std::mutex mutex;
  std::deque<dispatch_block_t> blocks;
  bool serving = false;  // main thread only
};

namespace {

DispatchMainQueue mainQueue;

dispatch_block_t takeFirst() {
  const std::lock_guard<std::mutex> lock(mainQueue.mutex);
  if (mainQueue.blocks.empty()) return nil;
  const dispatch_block_t first = mainQueue.blocks.front();
  mainQueue.blocks.pop_front();
  return first;
}

std::size_t waiting() {
  const std::lock_guard<std::mutex> lock(mainQueue.mutex);
  return mainQueue.blocks.size();
}

}  // namespace

@interface QuillmarkMainQueue : NSOperationQueue
@end

@implementation QuillmarkMainQueue

+ (void)wakeMainThread {
  // While the main thread has no run loop yet, GNUstep would perform the selector at once.
  if ([NSThread isMainThread]) (void)[NSRunLoop currentRunLoop];
  [self performSelectorOnMainThread:@selector(serve:)
                         withObject:nil
                      waitUntilDone:NO
                              modes:@[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]];
}

+ (void)serve:(id)unused {
  if (mainQueue.serving) return;  // the outer call serves what came in meanwhile
  mainQueue.serving = true;
  @try {
    while (const dispatch_block_t block = takeFirst()) {
      @autoreleasepool {
        block();
        Block_release(block);
      }
    }
  } @finally {
    mainQueue.serving = false;
    if (waiting() != 0) [self wakeMainThread];  // an exception has left a block
  }
}

+ (void)push:(dispatch_block_t)block {
  const dispatch_block_t copy = Block_copy(block);
  bool wasEmpty = false;
  {
    const std::lock_guard<std::mutex> lock(mainQueue.mutex);
    wasEmpty = mainQueue.blocks.empty();
    mainQueue.blocks.push_back(copy);
  }
  if (!wasEmpty) return;  // whoever put the first one in has woken the main thread
  @autoreleasepool {
    [self wakeMainThread];
  }
}

- (void)addOperation:(NSOperation *)operation {
  [QuillmarkMainQueue push:^{
    [operation start];
  }];
}

- (void)addOperationWithBlock:(GSBlockOperationBlock)block {
  [QuillmarkMainQueue push:(dispatch_block_t)block];
}

- (NSInteger)maxConcurrentOperationCount {
  return 1;
}

- (NSUInteger)operationCount {
  return waiting();
}

@end

@interface NSOperationQueue (QuillmarkMainQueue)
@end

@implementation NSOperationQueue (QuillmarkMainQueue)

+ (id)mainQueue {
  static QuillmarkMainQueue *const queue = [[QuillmarkMainQueue alloc] init];
  return queue;
}

@end

dispatch_queue_t dispatch_get_main_queue(void) { return &mainQueue; }

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) { [QuillmarkMainQueue push:block]; }

void dispatch_once(dispatch_once_t *predicate, dispatch_block_t block) {
  static std::recursive_mutex mutex;
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  if (*predicate != 0) return;
  block();
  *predicate = -1;
}
