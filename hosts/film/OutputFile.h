#pragma once

#include <string>

namespace film {

/// A file in the making: it is written under a temporary name in the folder of its true one and takes that name when
/// it is complete. Destroyed before, it leaves nothing behind and what stood under the name stays as it was.
class OutputFile {
 public:
  /// Fails if the folder is missing or can't be written to, or if `path` is a folder.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& path() const { return target; }
  const std::string& temporaryPath() const { return temporary; }

  /// Gives the file its name, replacing what had it. Its contents are on the disk by then.
  void commit();

  /// Writes `text` to `path` as a whole or not at all.
  static void write(const std::string& path, const std::string& text);

 private:
  std::string target, temporary;
  bool committed = false;
};

/// What `mkstemp` and `mkdtemp` make a hidden name of, beside `target`. Fails if its folder is missing.
std::string TemporaryPattern(const std::string& target);

/// Tells in one line why `path` couldn't be written, `error` being an errno value.
[[noreturn]] void FailToWrite(const std::string& path, int error);

/// Removes the temporary files of all `OutputFile`s that are open; it may be called from a signal handler.
void RemoveTemporaryFiles();

}  // namespace film
