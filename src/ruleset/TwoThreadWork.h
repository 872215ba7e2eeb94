#pragma once

#include <cstddef>
#include <functional>

// Runs `work(item, worker)` for every item below `count`, sharing the items
// between the calling thread (worker 0) and a helper thread (worker 1): each
// takes the next item nobody has taken, so long items early on balance out.
// Without a thread to be had, the calling thread does every item. Returns
// when every item is done; what stops the helper is thrown here then.
void runOnTwoThreads(std::size_t count, const std::function<void(std::size_t item, int worker)> &work);
