#pragma once

#include <functional>
#include <string>

namespace Vorn {

/// Writes one message to the platform's log. `format` and what follows are as for printf; a message needs no trailing
/// newline. Safe to call from any thread; messages of different threads never mix.
[[gnu::format(printf, 1, 2)]] void Log(const char* format, ...);

/// Receives every message, without a trailing newline, one call at a time.
using LogSink = std::function<void(const std::string& message)>;

/// Sends all further messages to `sink`; an empty one brings back the default, a line on the standard error stream.
void SetLogSink(LogSink sink);

}  // namespace Vorn
