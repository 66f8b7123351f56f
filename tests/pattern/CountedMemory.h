// The blocks of the whole program are counted, and can be refused.
#pragma once

#include <atomic>
#include <cstddef>

// Of all blocks, and the most that there were.
extern std::atomic<std::size_t> usedBytes;
extern std::atomic<std::size_t> mostBytes;
// How many more blocks there are until each is refused; below 0 all are given. For one thread only.
extern std::atomic<int> allowedBlocks;
