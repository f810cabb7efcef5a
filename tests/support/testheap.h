// The heap of the tests: counts blocks and refuses allocations on request.
#pragma once

namespace testheap {

// Refuses the n-th allocation from now on, counting from 1, and all after it if `all`; 0 refuses none.
void refuse(int n, bool all = false);

// True if an allocation was refused since the last call of refuse.
bool refused();

// The blocks that are allocated and not yet freed.
int blocks();

}  // namespace testheap
