#pragma once
// The VRLIN 8-bit set: for every UTF-16 code unit, the VRLIN code in the low byte and, in the
// high byte, 1 for a combining mark (written in front of its base letter), else 0.

#include <array>
#include <cstdint>

namespace tesselex {

using VrlinTable = std::array<std::uint16_t, 65536>;

// Built on first use and shared; it never changes afterwards.
const VrlinTable& TheVrlinTable();

}  // namespace tesselex
