#pragma once

#include <cstddef>

namespace postkite::support {

/// Allocations of the whole test program so far. Only where allocation_count.cpp is linked in.
[[nodiscard]] std::size_t AllocationCount();

}  // namespace postkite::support
