#include "rendering/ParallelBackProjectComplete.h"

#include "imaging/ImageInterpolator.h"
#include "numerics/Geometry.h"
#include "rendering/Matte.h"
#include "rendering/VideoCompleter.h"

using Vorn::PixelARGBSF;
using Vorn::Point2D;

void ParallelBackProjectComplete::operator()(int row) {
  const int width = image->GetWidth();
  const int maximum = MatteMaximum(*matte);
  const auto ox = static_cast<float>(origin.x), oy = static_cast<float>(origin.y);
  const int right = previous->GetWidth() - margin, bottom = previous->GetHeight() - margin;
  auto* pixels = reinterpret_cast<PixelARGBSF*>(image->rows[row]);
  for (int x = 0; x < width; ++x) {
    if (MatteValue(*matte, x, row) >= maximum) continue;
    const Point2D p = Vorn::ProjectPoint(matrix, Point2D(x, row), ox, oy);
    if (!(p.x >= margin && p.x < right && p.y >= margin && p.y < bottom)) continue;
    PixelARGBSF sample =
        bestInterpolation ? Vorn::Lanczos3ARGBSF(previous, p.x, p.y) : Vorn::BilinearARGBSF(previous, p.x, p.y);
    if (enableAGC) sample = VideoCompleter::compensateGain(sample, gain);
    if (sample.a >= 0.95f) sample.a = 1.0f;
    pixels[x] = sample;
    FillMatte(*matte, x, row);
  }
}
