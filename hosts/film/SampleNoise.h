#pragma once

#include <cmath>
#include <cstdint>

// Deterministic texture for the drawn scene: arithmetic only, so that every machine draws the same.
namespace film {

/// 0 to 1, without visible order, for a whole-number place.
inline float HashNoise(int x, int y, int seed) {
  std::uint32_t h = static_cast<std::uint32_t>(x) * 0x8da6b343u ^ static_cast<std::uint32_t>(y) * 0xd8163841u ^
                    static_cast<std::uint32_t>(seed) * 0xcb1ab31fu;
  h = (h ^ (h >> 15)) * 0x2c1b3c6du;
  h = (h ^ (h >> 12)) * 0x297a2d39u;
  h ^= h >> 15;
  return static_cast<float>(h >> 8) * (1.0f / 16777216.0f);
}

inline float Smooth(float t) { return t * t * (3.0f - 2.0f * t); }

/// Hermite step from 0 at `from` to 1 at `to`.
inline float Step(float from, float to, float x) {
  const float t = (x - from) / (to - from);
  return t <= 0.0f ? 0.0f : t >= 1.0f ? 1.0f : Smooth(t);
}

/// Smooth noise between whole-number places (value noise), 0 to 1.
inline float ValueNoise(float x, float y, int seed) {
  const float fx = std::floor(x), fy = std::floor(y);
  const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
  const float u = Smooth(x - fx), v = Smooth(y - fy);
  const float top = HashNoise(ix, iy, seed) * (1 - u) + HashNoise(ix + 1, iy, seed) * u;
  const float bottom = HashNoise(ix, iy + 1, seed) * (1 - u) + HashNoise(ix + 1, iy + 1, seed) * u;
  return top * (1 - v) + bottom * v;
}

/// Octaves of it, each of half the size and half the weight of the one before; 0 to 1, mean 0.5.
inline float FractalNoise(float x, float y, int octaves, int seed) {
  float sum = 0.0f, weight = 0.5f, total = 0.0f;
  for (int o = 0; o < octaves; ++o, x *= 2.03f, y *= 2.03f, weight *= 0.5f) {
    sum += weight * ValueNoise(x, y, seed + o);
    total += weight;
  }
  return sum / total;
}

}  // namespace film
