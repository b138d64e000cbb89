#include "imaging/Pixel.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>

#include "imaging/CodeArithmetic.h"

namespace Vorn {
namespace {

using Component = int Pixel::*;

std::span<const Component> ComponentsOf(ColourSpace space) {
  static constexpr Component mono[] = {&Pixel::M_};
  static constexpr Component rgb[] = {&Pixel::R_, &Pixel::G_, &Pixel::B_};
  static constexpr Component ycbcr[] = {&Pixel::Y_, &Pixel::U_, &Pixel::V_};
  switch (space) {
    case NoSpace:
      return {};
    case Mono:
      return mono;
    case RGB:
      return rgb;
    default:
      return ycbcr;
  }
}

int BitsOf(unsigned maxValue) { return std::bit_width(static_cast<std::uint64_t>(maxValue) + 1) - 1; }

int ReduceDepth(int v, int shift, int limit) {
  const int carry = shift > 0 ? (v >> (shift - 1)) & 1 : 0;
  return std::clamp((v >> shift) + carry, 0, limit);
}

int RaiseDepth(int v, unsigned from, unsigned to) {
  return TruncateToInt(static_cast<float>(v) / static_cast<float>(from) * static_cast<float>(to));
}

}  // namespace

Pixel::Pixel(int first, int second, int third, int a, ColourSpace colourSpace) : space(colourSpace), A_(a) {
  switch (space) {
    case NoSpace:
      break;
    case Mono:
      M_ = first;
      break;
    case RGB:
      R_ = first;
      G_ = second;
      B_ = third;
      break;
    default:
      Y_ = first;
      U_ = second;
      V_ = third;
  }
}

Pixel& Pixel::operator=(int m) { return *this = Pixel(m, 255); }

bool Pixel::operator==(const Pixel& other) const {
  if (space != other.space || A_ != other.A_ || space == NoSpace || maxValue != other.maxValue) return false;
  return std::ranges::all_of(ComponentsOf(space), [&](Component c) { return this->*c == other.*c; });
}

Pixel Pixel::operator*(double factor) const {
  Pixel result = *this;
  for (const Component c : ComponentsOf(space)) result.*c = TruncateToInt(this->*c * factor);
  return result;
}

Pixel Pixel::operator/(double divisor) const {
  Pixel result = *this;
  for (const Component c : ComponentsOf(space)) result.*c = TruncateToInt(this->*c / divisor);
  return result;
}

Pixel Pixel::operator+(const Pixel& other) const {
  Pixel result = *this;
  for (const Component c : ComponentsOf(space)) result.*c += other.*c;
  return result;
}

Pixel Pixel::operator-(const Pixel& other) const {
  Pixel result = *this;
  for (const Component c : ComponentsOf(space)) result.*c -= other.*c;
  return result;
}

void Pixel::RGBA(int& r, int& g, int& b, int& a) const {
  r = R_;
  g = G_;
  b = B_;
  a = A_;
}

void Pixel::YUVA(int& y, int& u, int& v, int& a) const {
  y = Y_;
  u = U_;
  v = V_;
  a = A_;
}

void Pixel::MA(int& m, int& a) const {
  m = M_;
  a = A_;
}

int Pixel::GetYL() const {
  switch (space) {
    case NoSpace:
      return 0;
    case Mono:
      return M_;
    case RGB:
      return TruncateToInt(0.299 * R_ + 0.587 * G_ + 0.114 * B_);
    default:
      return Y_;
  }
}

double Pixel::GetAlphaNorm() const {
  if (space <= RGB) return static_cast<double>(A_) / maxValue;
  const bool deep = maxValue == 1023 || maxValue == 4095 || maxValue == 16383 || maxValue == 65535;
  const int scale = deep ? static_cast<int>((maxValue + 1) / 256) : 1;
  const double low = 16 * scale, high = 235 * scale;
  return (A_ - low) / (high - low);
}

void Pixel::ConvertMax(unsigned newMax) {
  if (newMax == maxValue || space == NoSpace) return;
  const int shift = std::clamp(BitsOf(maxValue) - BitsOf(newMax), 0, 31);
  const int limit = static_cast<int>(std::min<unsigned>(newMax, std::numeric_limits<int>::max()));
  const auto convert = [&](int v) {
    return newMax < maxValue ? ReduceDepth(v, shift, limit) : RaiseDepth(v, maxValue, newMax);
  };
  for (const Component c : ComponentsOf(space)) this->*c = convert(this->*c);
  A_ = convert(A_);
  maxValue = newMax;
}

ColourSpace Pixel::GetSpace(PixelType type) {
  switch (type) {
    case L8:
    case LA16:
    case L10:
    case L16:
    case LA32:
      return Mono;
    case Y2UV32:
    case YUV24:
    case YUVA32:
    case Y6UVX32:
    case Y1UVX32:
    case Y2UV10:
    case Y2UV12:
    case Y2UV14:
    case Y2UV16:
    case YUVP420:
    case YUVP422:
    case YUVP444:
    case YUVAP444:
      return Rec709;
    case BGR24:
    case RGB24:
    case BGRA32:
    case ARGB32:
    case RGBA32:
    case RGB30:
    case RGB48:
    case RGBA64:
    case ARGBSF:
      return RGB;
    default:  // on purpose also Y1UV10 to Y1UV16, YUVA64 and ARGB64, although their images have a space
      return NoSpace;
  }
}

int Pixel::validify(int& v, int lo, int hi) {
  if (v < lo) v = lo;
  if (v > hi) v = hi;
  return v;
}

}  // namespace Vorn
