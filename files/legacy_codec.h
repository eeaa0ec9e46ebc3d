// The older in-memory encoding of buffers: runs of zeros and a fixed table of byte sequences. It is
// only decoded, for data that was stored long ago; nothing writes it. docs/formats/legacy-buffer.md
// has the layout in bytes.
//
// Pure function but for the warnings; any thread.
#pragma once

#include <cstdint>
#include <span>

#include "files/void_buffer.h"

namespace kor {

// Always returns as many bytes as the buffer declares, as far as they can be decoded and 0 behind
// that; damage shows by debug warnings only. Memory for zeros that nothing touches is not taken.
// The output is empty when the declared length is negative or missing, or when there is no memory.
VoidBuffer DecodeLegacyBuffer(std::span<const std::uint8_t> encoded, std::int32_t& declaredLength);

} // namespace kor
