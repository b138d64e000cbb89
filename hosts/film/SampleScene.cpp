#include "film/SampleScene.h"

#include <algorithm>
#include <cmath>

#include "film/SampleNoise.h"
#include "numerics/Parallel.h"

namespace film {
namespace {

using Colour = SampleScene::Colour;

Colour mix(const Colour& a, const Colour& b, float t) {
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

Colour shade(const Colour& c, float factor) { return {c.r * factor, c.g * factor, c.b * factor}; }

// All places are in clip pixels, y downward. The layers are drawn from the back to the front; each paints over what is
// behind it where it covers.

Colour sky(float x, float y) {
  const Colour blue{0.28f, 0.50f, 0.80f}, haze{0.93f, 0.84f, 0.72f}, white{0.98f, 0.97f, 0.95f};
  Colour colour = mix(blue, haze, Step(0.0f, 430.0f, y));
  const float puff = FractalNoise(x / 210.0f, y / 80.0f, 6, 11);
  const float body = FractalNoise(x / 60.0f + 7.0f, y / 28.0f, 5, 23);
  const float cover = Step(0.50f, 0.66f, puff) * (1.0f - Step(250.0f, 420.0f, y));
  return mix(colour, shade(white, 0.80f + 0.26f * body), cover);
}

void mountains(float x, float y, Colour* colour) {
  if (y < 110.0f) return;
  const float ridge = 330.0f - 210.0f * FractalNoise(x / 330.0f, 0.5f, 6, 31);
  if (y < ridge) return;
  const float fold = FractalNoise(x / 90.0f + y / 130.0f, y / 75.0f - x / 210.0f, 6, 37);
  const float crag = FractalNoise(x / 16.0f, y / 11.0f, 5, 39);
  const float rock = 1.35f * (1.0f - std::abs(5.0f * fold - 2.5f)) * 0.55f + 0.6f * crag;  // ridges where folds meet
  const Colour stone{0.36f, 0.39f, 0.47f}, snow{0.90f, 0.92f, 0.96f};
  Colour face = shade(stone, 0.5f + 0.9f * rock);
  const float snowLine = 235.0f + 90.0f * FractalNoise(x / 40.0f, y / 40.0f, 4, 41);
  face = mix(face, shade(snow, 0.68f + 0.42f * rock), 1.0f - Step(snowLine - 12.0f, snowLine + 12.0f, y));
  *colour = mix(face, {0.72f, 0.74f, 0.78f}, 0.30f);  // air between
}

/// A hillside of round tree crowns, each lit from the upper left.
void forest(float x, float y, float base, float relief, float crown, int seed, const Colour& green, Colour* colour) {
  if (y < base - relief - crown || y > base + 130.0f) return;  // further down the next layer covers it
  const float top = base - relief * FractalNoise(x / 260.0f, 0.3f, 4, seed);
  if (y < top - crown) return;
  const int cx = static_cast<int>(std::floor(x / crown)), cy = static_cast<int>(std::floor(y / (0.7f * crown)));
  float nearest = 1e9f;
  for (int j = cy + 2; j >= cy - 1; --j)  // crowns further down stand in front
    for (int i = cx - 1; i <= cx + 1; ++i) {
      const float px = (static_cast<float>(i) + HashNoise(i, j, seed + 1)) * crown;
      const float py = (static_cast<float>(j) + HashNoise(i, j, seed + 2)) * 0.7f * crown;
      const float size = crown * (0.55f + 0.35f * HashNoise(i, j, seed + 3));
      const float dx = (x - px) / size, dy = (y - py) / size, far = dx * dx + dy * dy;
      if (far >= 1.0f || nearest < 1e8f || py < base - relief * FractalNoise(px / 260.0f, 0.3f, 4, seed)) continue;
      nearest = far;
      const float light = 0.62f - 0.30f * dx - 0.38f * dy - 0.2f * far;
      const float leaves = FractalNoise(x / 3.2f, y / 3.2f, 3, seed + 5);
      const float hue = HashNoise(i, j, seed + 4);
      const Colour tree{green.r * (0.8f + 0.9f * hue), green.g * (0.8f + 0.4f * hue), green.b};
      *colour = shade(tree, std::max(0.12f, light) * (0.55f + 0.9f * leaves));
    }
  if (nearest > 1e8f && y >= top) *colour = shade(green, 0.25f + 0.3f * ValueNoise(x / 4.0f, y / 4.0f, seed + 6));
}

void meadow(float x, float y, Colour* colour) {
  const float edge = 575.0f + 14.0f * ValueNoise(x / 120.0f, 0.0f, 51);
  if (y < edge) return;
  const float depth = (y - edge) / 330.0f;  // 0 far, 1 near: what is near looks larger
  const float far = FractalNoise(x / 2.4f, y / 3.2f, 3, 53), near = FractalNoise(x / 5.0f, y / 15.0f, 4, 55);
  const float blades = far + (near - far) * std::clamp(1.4f * depth, 0.0f, 1.0f);
  const float patches = FractalNoise(x / 150.0f, y / 46.0f, 4, 57);
  const Colour grass = mix({0.36f, 0.50f, 0.16f}, {0.62f, 0.62f, 0.24f}, patches);
  *colour = shade(grass, 0.45f + 0.95f * blades);
  const float cell = 9.0f + 5.0f * std::floor(3.0f * depth);
  const int i = static_cast<int>(std::floor(x / cell)), j = static_cast<int>(std::floor(y / cell));
  if (HashNoise(i, j, 61) < 0.72f - 0.25f * patches) return;
  const float px = (static_cast<float>(i) + 0.25f + 0.5f * HashNoise(i, j, 62)) * cell;
  const float py = (static_cast<float>(j) + 0.25f + 0.5f * HashNoise(i, j, 63)) * cell;
  const float r = std::sqrt((x - px) * (x - px) + (y - py) * (y - py)) / cell;
  constexpr Colour petals[] = {
      {0.95f, 0.93f, 0.88f}, {0.93f, 0.78f, 0.15f}, {0.80f, 0.20f, 0.22f}, {0.55f, 0.40f, 0.78f}};
  const int kind = static_cast<int>(HashNoise(i, j, 64) * 3.99f);
  if (r < 0.20f) *colour = r < 0.07f ? Colour{0.45f, 0.32f, 0.06f} : petals[kind];
}

/// A house in the village row; `x` and `y` from its lower left corner, y upward.
void house(float x, float y, float wide, float high, int number, Colour* colour) {
  constexpr Colour walls[] = {
      {0.90f, 0.84f, 0.70f}, {0.82f, 0.62f, 0.45f}, {0.74f, 0.78f, 0.80f}, {0.88f, 0.74f, 0.52f}};
  const float roofHigh = 0.36f * wide, overhang = 7.0f;
  const float weather = FractalNoise(x / 9.0f, y / 9.0f + 40.0f * static_cast<float>(number), 4, 71);
  if (y > high) {  // the gable roof, of tiles
    const float up = (y - high) / roofHigh;
    if (up > 1.0f || std::abs(x - wide / 2) > (wide / 2 + overhang) * (1.0f - up)) return;
    const int row = static_cast<int>(y / 6.0f);
    const float along = x / 7.0f + 0.5f * static_cast<float>(row % 2), tile = along - std::floor(along);
    const float tone = HashNoise(static_cast<int>(std::floor(along)), row + 97 * number, 73);
    const float lip = y / 6.0f - std::floor(y / 6.0f);
    *colour = shade({0.62f, 0.27f, 0.17f}, (0.65f + 0.6f * tone) * (tile < 0.12f || lip < 0.18f ? 0.55f : 1.0f));
    return;
  }
  if (x < 0.0f || x > wide || y < 0.0f) return;
  Colour wall = shade(walls[number % 4], 0.72f + 0.4f * weather);
  if (number % 4 == 1) {  // bricks
    const int row = static_cast<int>(y / 5.0f);
    const float along = x / 11.0f + 0.5f * static_cast<float>(row % 2), brick = along - std::floor(along);
    const bool joint = brick < 0.10f || y / 5.0f - std::floor(y / 5.0f) < 0.2f;
    const float tone = HashNoise(static_cast<int>(std::floor(along)), row, 79 + number);
    wall = joint ? Colour{0.80f, 0.76f, 0.70f} : shade({0.66f, 0.34f, 0.24f}, 0.7f + 0.6f * tone);
  }
  const int floors = static_cast<int>(high / 52.0f), columns = static_cast<int>(wide / 38.0f);
  const float u = (x / wide) * static_cast<float>(columns), v = (y / high) * static_cast<float>(floors);
  const int column = static_cast<int>(u);
  const float fu = u - std::floor(u), fv = v - std::floor(v);
  const bool door = v < 1.0f && column == columns / 2;
  const bool frame = fu > 0.24f && fu < 0.76f && fv > (door ? 0.0f : 0.26f) && fv < 0.82f;
  const bool pane = fu > 0.30f && fu < 0.70f && fv > (door ? 0.0f : 0.32f) && fv < 0.77f;
  if (frame) wall = {0.93f, 0.92f, 0.88f};
  if (pane && door) wall = shade({0.30f, 0.38f, 0.30f}, 0.7f + 0.5f * ValueNoise(x / 2.0f, y / 30.0f, 83));
  if (pane && !door) {
    const bool bar = std::abs(fu - 0.5f) < 0.03f || std::abs(fv - 0.56f) < 0.02f;
    const float glow = HashNoise(column, static_cast<int>(v), 89 + number);
    wall = bar ? Colour{0.93f, 0.92f, 0.88f} : mix({0.12f, 0.17f, 0.24f}, {0.70f, 0.76f, 0.80f}, glow * fv);
  }
  *colour = wall;
}

void village(float x, float y, Colour* colour) {
  if (y < 320.0f || y > 610.0f) return;
  float left = -20.0f;
  for (int number = 0; left < static_cast<float>(SampleScene::width); ++number) {
    const float wide = 96.0f + 76.0f * HashNoise(number, 0, 91), high = 82.0f + 70.0f * HashNoise(number, 1, 91);
    const float foot = 596.0f + 12.0f * HashNoise(number, 2, 91);
    if (x > left - 10.0f && x < left + wide + 10.0f) house(x - left, foot - y, wide, high, number, colour);
    left += wide + 14.0f + 70.0f * HashNoise(number, 3, 91);
  }
}

/// Two rails on posts in the foreground, of weathered wood.
void fence(float x, float y, Colour* colour) {
  const float sway = 5.0f * ValueNoise(x / 160.0f, 0.0f, 95);
  const float post = x / 118.0f - std::floor(x / 118.0f);
  const bool isPost = post < 0.12f && y > 688.0f + sway && y < 826.0f;
  const bool isRail = (y > 712.0f + sway && y < 729.0f + sway) || (y > 765.0f + sway && y < 782.0f + sway);
  if (!isPost && !isRail) return;
  const float grain = isPost ? FractalNoise(x / 2.2f, y / 34.0f, 4, 96) : FractalNoise(x / 40.0f, y / 2.0f, 4, 97);
  const float edge = isPost && (post < 0.015f || post > 0.105f) ? 0.6f : 1.0f;
  *colour = shade({0.56f, 0.44f, 0.32f}, (0.45f + 1.0f * grain) * edge);
}

Colour paint(float x, float y) {
  Colour colour{};
  if (y < 340.0f) colour = sky(x, y);
  if (y < 440.0f) mountains(x, y, &colour);
  forest(x, y, 420.0f, 90.0f, 17.0f, 101, {0.22f, 0.36f, 0.24f}, &colour);
  forest(x, y, 520.0f, 70.0f, 27.0f, 131, {0.26f, 0.44f, 0.17f}, &colour);
  meadow(x, y, &colour);
  village(x, y, &colour);
  fence(x, y, &colour);
  const auto clip = [](float v) { return std::clamp(v, 0.0f, 1.0f); };
  return {clip(colour.r), clip(colour.g), clip(colour.b)};
}

/// Takes away what is finer than the texels can carry: 1 2 1 along one axis, with `step` texels from one to the next.
void soften(std::vector<Colour>& texels, int lines, int lineStep, int count, int step) {
  Vorn::ApplyInParallel(lines, [&](int line) {
    Colour* at = texels.data() + static_cast<size_t>(line) * static_cast<size_t>(lineStep);
    Colour before = at[0];
    for (int i = 0; i < count; ++i, at += step) {
      const Colour here = *at, after = i + 1 < count ? at[step] : here;
      *at = {0.25f * (before.r + after.r) + 0.5f * here.r, 0.25f * (before.g + after.g) + 0.5f * here.g,
             0.25f * (before.b + after.b) + 0.5f * here.b};
      before = here;
    }
  });
}

}  // namespace

SampleScene::SampleScene() : texels(static_cast<size_t>(texelsX) * texelsY) {
  Vorn::ApplyInParallel(texelsY, [this](int row) {
    Colour* at = texels.data() + static_cast<size_t>(row) * texelsX;
    for (int i = 0; i < texelsX; ++i) at[i] = paint(0.5f * static_cast<float>(i), 0.5f * static_cast<float>(row));
  });
  soften(texels, texelsY, texelsX, texelsX, 1);
  soften(texels, texelsX, 1, texelsY, texelsX);
}

SampleScene::Colour SampleScene::at(double x, double y) const {
  const double tx = std::clamp(2.0 * x, 0.0, texelsX - 1.001), ty = std::clamp(2.0 * y, 0.0, texelsY - 1.001);
  const int ix = static_cast<int>(tx), iy = static_cast<int>(ty);
  const auto u = static_cast<float>(tx - ix), v = static_cast<float>(ty - iy);
  const Colour* texel = texels.data() + static_cast<size_t>(iy) * texelsX + ix;
  return mix(mix(texel[0], texel[1], u), mix(texel[texelsX], texel[texelsX + 1], u), v);
}

}  // namespace film
