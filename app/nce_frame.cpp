#include "app/nce_frame.h"

#include "services/core/kor_text.h"

namespace kor {

unsigned BlockChecksum(std::string_view block) {
  unsigned checksum = 0;
  for (const char c : block)
    checksum ^= static_cast<unsigned char>(c);
  return checksum;
}

std::string MakeFrame(std::string_view block) {
  std::string frame = KorText::Format(u"%02X", block.size()).ToBytes();
  frame += block;
  frame += KorText::Format(u"%02X", BlockChecksum(block)).ToBytes();
  frame += '\r';
  return frame;
}

} // namespace kor
