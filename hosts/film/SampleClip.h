#pragma once

#include <functional>
#include <string>

namespace film {

/// Writes a shaky clip of a drawn scene: 1280 x 720, 6 seconds at 30 frames a second, with sound. The camera holds for
/// two seconds, pans for two and holds again. Every run writes the same bytes.
///
/// `truthPath`: where the exact camera motion goes as JSON, or empty. Its `motion` holds per frame the 3 by 3 matrix,
/// row by row, that takes pixels of the frame before to this one's, about `origin`; `intended` is the same without the
/// shake. `progress` is called with the frames done; false stops, and nothing is left behind.
void WriteSampleClip(const std::string& path, const std::string& truthPath,
                     const std::function<bool(int frames)>& progress);

}  // namespace film
