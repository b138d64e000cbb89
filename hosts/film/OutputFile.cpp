#include "film/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "film/Failure.h"

namespace film {
namespace {

constexpr std::size_t longestKeptName = 200;  // bytes; file systems take 255

// Names for the signal handler: no lock and no allocation there, so they lie in a table of fixed size.
constexpr int slots = 8;
constexpr size_t longestName = 4096;
char openNames[slots][longestName];
std::atomic<bool> slotTaken[slots], slotReady[slots];

void rememberName(const std::string& name) {
  if (name.size() >= longestName) return;
  for (int i = 0; i < slots; ++i)
    if (!slotTaken[i].exchange(true)) {
      std::memcpy(openNames[i], name.c_str(), name.size() + 1);
      slotReady[i] = true;
      return;
    }
}

void forgetName(const std::string& name) {
  for (int i = 0; i < slots; ++i)
    if (slotReady[i] && name == openNames[i]) {
      slotReady[i] = false;
      slotTaken[i] = false;
      return;
    }
}

std::string makeTemporary(const std::string& target) {
  const std::filesystem::path path(target);
  std::string name = TemporaryPattern(target);
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    throw Failure(target + ": this is a folder; give the name of a file in it");
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
    throw Failure(target + ": this is a device or a pipe, which would be replaced; give the name of a file");
  const int file = mkstemp(name.data());
  if (file < 0) FailToWrite(target, errno);
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(file, 0666 & ~mask);  // as any new file; mkstemp gives the owner's rights only
  close(file);
  return name;
}

}  // namespace

std::string TemporaryPattern(const std::string& target) {
  const std::filesystem::path path(target);
  const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error))
    throw Failure(target + ": its folder does not exist; make it first or choose another one");
  std::string hidden = ".";
  // Cut, so that it isn't too long where the name itself is just short enough.
  hidden.append(path.filename().string(), 0, longestKeptName).append(".").append(6, 'X');
  return (folder / hidden).string();
}

void FailToWrite(const std::string& path, int error) {
  if (error == ENOSPC || error == EDQUOT)
    throw Failure(path + ": the disk is full; free some space or choose another folder");
  if (error == EACCES || error == EPERM || error == EROFS)
    throw Failure(path + ": its folder can't be written to; choose another one or change its access rights");
  throw Failure(path + ": can't be written (" + std::strerror(error) + "); choose another name or folder");
}

OutputFile::OutputFile(const std::string& path) : target(path), temporary(makeTemporary(path)) {
  rememberName(temporary);
}

OutputFile::~OutputFile() {
  if (!committed) unlink(temporary.c_str());
  forgetName(temporary);
}

void OutputFile::commit() {
  const int file = open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
  const int synced = file < 0 ? -1 : fsync(file);
  const int error = errno;
  if (file >= 0) close(file);
  if (synced != 0 && error != EINVAL) FailToWrite(target, error);
  if (std::rename(temporary.c_str(), target.c_str()) != 0) FailToWrite(target, errno);
  committed = true;
}

void OutputFile::write(const std::string& path, const std::string& text) {
  OutputFile file(path);
  std::FILE* stream = std::fopen(file.temporaryPath().c_str(), "wb");
  if (!stream) FailToWrite(path, errno);
  const bool whole = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
  const int writeError = errno;
  const bool flushed = std::fclose(stream) == 0;
  if (!whole) FailToWrite(path, writeError);
  if (!flushed) FailToWrite(path, errno);
  file.commit();
}

void RemoveTemporaryFiles() {
  for (int i = 0; i < slots; ++i)
    if (slotReady[i]) unlink(openNames[i]);
}

}  // namespace film
