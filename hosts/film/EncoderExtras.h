#pragma once

#include <string>
#include <vector>

#include "film/EncoderTable.h"

namespace film {

/// Sets options of an encoder's own, each as "name=value". Those that are lists themselves, such as x265-params, are
/// added to what the encoder was set up with. `out` is for messages. Fails on a name that the encoder doesn't have,
/// telling which it has, and on a value that the name doesn't take.
void ApplyExtras(const std::string& out, const EncoderKind& kind, const std::vector<std::string>& extras,
                 AVCodecContext& context);

}  // namespace film
