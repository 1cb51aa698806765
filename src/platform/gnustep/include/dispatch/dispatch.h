#pragma once

// The part of Grand Central Dispatch that the installer calls: the main queue and dispatch_once.

#include <Block.h>

typedef void (^dispatch_block_t)(void);
typedef struct DispatchMainQueue *dispatch_queue_t;
typedef long dispatch_once_t;

extern "C" {

dispatch_queue_t dispatch_get_main_queue(void);

/// `queue` must be the main queue.
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);

void dispatch_once(dispatch_once_t *predicate, dispatch_block_t block);
}
