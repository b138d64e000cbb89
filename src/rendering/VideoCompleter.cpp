#include "rendering/VideoCompleter.h"

#include "numerics/Log.h"

void VideoCompleter::setAnalysisWidth(int width, int height) {
  analysisWide = width;
  analysisHigh = height;
}

void VideoCompleter::setGains(const AGCStorage* gains, int start) {
  frameGains = gains->GetGains();
  gainStart = start;
}

bool VideoCompleter::loadGains(const char* path) {
  AGCStorage gains;
  if (!gains.Load(path)) {
    Vorn::Log("Failed to load gains");
    return false;
  }
  setGains(&gains, gains.GetStart());
  return true;
}

float VideoCompleter::gain(int frame, int ref) const {
  if (frameGains.empty()) return 1.0f;
  const auto of = [this](int f) {
    const long position = static_cast<long>(f) - gainStart;
    return position >= 0 && position < static_cast<long>(frameGains.size()) ? frameGains[position] : 1.0f;
  };
  return of(ref) / of(frame);
}

bool VideoCompleter::complete(Vorn::Image* /*image*/, Vorn::Image* /*matte*/, Vorn::Matrix* /*projection*/,
                              int /*number*/, int /*low*/, int /*high*/, Vorn::Rectangle* /*border*/) {
  return false;
}
