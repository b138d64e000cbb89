#include "film/Libav.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "numerics/Log.h"

namespace film {
namespace {

std::atomic<int> errors = 0;

void logMessage(void* context, int level, const char* format, std::va_list arguments) {
  if (level > AV_LOG_WARNING) return;
  if (level <= AV_LOG_ERROR) ++errors;
  char line[1024];
  int newLine = 1;
  av_log_format_line(context, level, format, arguments, line, sizeof line, &newLine);
  std::string text = line;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  if (!text.empty()) Vorn::Log("%s", text.c_str());
}

}  // namespace

std::string ErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = "";
  av_strerror(code, text, sizeof text);
  return text;
}

int LibavErrors() { return errors; }

void RouteLibavMessages() { av_log_set_callback(logMessage); }

}  // namespace film
