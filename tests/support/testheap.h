// The heap of the tests: counts blocks and refuses allocations on request.
#pragma once

#include <cstddef>

namespace testheap {

// Refuses the n-th allocation from now on, counting from 1, and all after it if `all`; 0 refuses none.
void refuse(int n, bool all = false);

// True if an allocation was refused since the last call of refuse.
bool refused();

// The bytes of the largest block that was asked for since the last call of refuse.
size_t largest();

// The blocks that are allocated and not yet freed.
int blocks();

}  // namespace testheap
