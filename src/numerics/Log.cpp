#include "numerics/Log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace Vorn {
namespace {

std::mutex sinkLock;

LogSink& CurrentSink() {
  static LogSink sink;
  return sink;
}

std::string Format(const char* format, std::va_list arguments) {
  std::va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length < 0) return format;
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  return text;
}

}  // namespace

void Log(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = Format(format, arguments);
  va_end(arguments);
  const std::lock_guard<std::mutex> guard(sinkLock);
  if (const LogSink& sink = CurrentSink())
    sink(message);
  else
    std::fprintf(stderr, "%s\n", message.c_str());
}

void SetLogSink(LogSink sink) {
  const std::lock_guard<std::mutex> guard(sinkLock);
  CurrentSink() = std::move(sink);
}

}  // namespace Vorn
