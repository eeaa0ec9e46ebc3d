// The colours that the window draws itself, for light and for dark desktops, so that one place can
// be checked for contrast: 4.5:1 for a text against its ground, 3:1 for a sign, a bar or the rim of
// a lens. In high contrast the window takes the system's colours instead. Constants; any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kor {

using Rgb = std::uint32_t; // 0xRRGGBB

// Holds one colour for light and for dark desktops.
struct Shades {
  Rgb light, dark;
};

// The meaning that a state's colour has.
enum class Tone : std::size_t { Neutral, Busy, Attention, Done, Failed };
inline constexpr std::size_t kToneCount = 5;

struct ToneShades {
  Shades ground; // of the band
  Shades strong; // sign, word, program, advice and figures, on that ground
  Shades plain;  // status line and labels, on that ground
  Shades bar;    // the filled part of the progress bar, on kTrough
};

inline constexpr std::array<ToneShades, kToneCount> kTones{{
    {{0xe9ecef, 0x3d454d}, {0x38424c, 0xd5dce3}, {0x444444, 0xd8d8d8}, {0x5b6770, 0x9aa7b2}},
    {{0xe3effb, 0x12304d}, {0x0b4f94, 0x8cc4ff}, {0x444444, 0xd8d8d8}, {0x1769c2, 0x4fa3f0}},
    {{0xfff1d6, 0x40300c}, {0x7a4a00, 0xffcc73}, {0x444444, 0xd8d8d8}, {0xc77700, 0xffb020}},
    {{0xe4f4e8, 0x143a20}, {0x1a6b34, 0x86dd9b}, {0x444444, 0xd8d8d8}, {0x1a7f3c, 0x4fc46d}},
    {{0xfde7e7, 0x471a1c}, {0xa4161a, 0xffa8a8}, {0x444444, 0xd8d8d8}, {0xa4161a, 0xff8080}},
}};

constexpr const ToneShades& ShadesOf(Tone tone) {
  return kTones[static_cast<std::size_t>(tone)];
}

inline constexpr Shades kTrough{0xffffff, 0x1c1c1c};

// The strip of the lamps is dark on every desktop. The rim tells the lens from the strip, the
// filling whether it is lit.
inline constexpr Rgb kStripGround = 0x2b3036;
inline constexpr Rgb kStripText = 0xe8e8e8;
inline constexpr Rgb kLensRim = 0x8a959d;
inline constexpr Rgb kLensOff = 0x454e55;
inline constexpr Rgb kLensTraffic = 0x3ddc6e;
inline constexpr Rgb kLensHold = 0xffb020;

// These are for texts and signs in lists and on the window's own ground, which is the desktop's.
// kUsualGround holds the usual desktops' shades, which the others are made for.
inline constexpr Shades kUsualGround{0xf5f5f4, 0x353535};
inline constexpr Shades kGoodText{0x1a6b34, 0x86dd9b};
inline constexpr Shades kFailedText{0xa4161a, 0xffa8a8};
inline constexpr Shades kSentText{0x0b4f94, 0x8cc4ff};
inline constexpr Shades kQuietText{0x5f5f5f, 0xb4b4b4};

} // namespace kor
