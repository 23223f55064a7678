#pragma once

/// @file
/// Eight bytes of text at a time. The lowest byte that a mask marks is right, and whether it marks any; a
/// byte above a marked one may be marked wrongly.

#include <cstdint>
#include <cstring>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the masks below count from the lowest byte");

namespace limber::detail {

inline constexpr std::uint64_t everyByte = UINT64_C(0x0101010101010101);
inline constexpr std::uint64_t highBits = UINT64_C(0x8080808080808080);

inline std::uint64_t load8(const char* from) {
  std::uint64_t bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  return bytes;
}
inline void store8(char* to, std::uint64_t bytes) { std::memcpy(to, &bytes, sizeof bytes); }

/// Marks bytes that may end a line: from 0 to 20.
inline std::uint64_t lineEnders(std::uint64_t bytes) { return (bytes - 21 * everyByte) & ~bytes & highBits; }

/// Marks white bytes: up to 32, and from 128 on.
inline std::uint64_t whites(std::uint64_t bytes) { return ((bytes - 33 * everyByte) | bytes) & highBits; }

/// Number of bytes before the first (in memory) that `mask` marks; 8 for none.
inline int before(std::uint64_t mask) { return mask ? __builtin_ctzll(mask) / 8 : 8; }

/// The first `n` (below 8) bytes of `bytes` in memory order, zeros behind, over those of `old`: n + 1 bytes
/// in all.
inline std::uint64_t terminated(std::uint64_t bytes, int n, std::uint64_t old) {
  const std::uint64_t kept = (UINT64_C(1) << (8 * n)) - 1;
  return (bytes & kept) | (old & ~(kept << 8 | 0xff));
}

}  // namespace limber::detail
