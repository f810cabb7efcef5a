// The heap of the tests: counts blocks, fills new ones with a pattern and refuses allocations on request.
#pragma once

#include <cstddef>

namespace testheap {

// What every byte of a new block holds.
constexpr unsigned char pattern = 0xB7;

// Refuses the n-th allocation from now on, counting from 1, and all after it if `all`; 0 refuses none.
void refuse(int n, bool all = false);

// True if an allocation was refused since the last call of refuse.
bool refused();

// The blocks that are allocated and not yet freed.
int blocks();

// Whether new blocks are filled, as they are at first; without it valgrind sees what is read before it is set.
void fill(bool on);

// The bytes that were asked for since the last call of refuse.
size_t asked();

}  // namespace testheap
