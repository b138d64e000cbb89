#include "film/RunFiles.h"

#include <filesystem>

#include "film/Failure.h"

namespace film {
namespace {

/// Whether two names lead to the same file, be it there already or not.
bool sameFile(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (fs::exists(a, error) && fs::exists(b, error)) return fs::equivalent(a, b, error);
  return fs::absolute(a, error).lexically_normal() == fs::absolute(b, error).lexically_normal();
}

}  // namespace

void CheckFilesDiffer(const std::vector<std::string>& files) {
  for (size_t later = 1; later < files.size(); ++later)
    for (size_t i = 0; i < later; ++i)
      if (!files[i].empty() && !files[later].empty() && sameFile(files[i], files[later]))
        throw Failure(
            files[later] + ": the same run needs this name for another file, which would be lost; choose another name",
            kUsage);
}

void CheckOutput(const std::string& out, bool force, const char* ending) {
  if (out.empty())
    throw Failure(std::string("the name of the file to write is empty; give one that ends in ") + ending, kUsage);
  std::error_code error;
  if (std::filesystem::is_directory(out, error))
    throw Failure(out + ": this is a folder; give the name of a file in it");
  if (!force && std::filesystem::exists(out, error))
    throw Failure(out + ": exists already; replace it with --force or choose another name");
}

}  // namespace film
