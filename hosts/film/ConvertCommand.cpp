#include <cerrno>
#include <filesystem>

#include "film/Commands.h"
#include "film/Interrupt.h"
#include "film/MemoryFile.h"
#include "film/OutputFile.h"
#include "film/RunFiles.h"
#include "film/StoredFormat.h"
#include "film/Summary.h"
#include "film/Table.h"
#include "numerics/Text.h"

namespace film {
namespace {

namespace fs = std::filesystem;

void checkInput(const std::string& in) {
  CheckReadable(in);
  std::error_code error;
  if (!fs::exists(in, error)) throw Failure(in + ": there is no such file; check the name");
  if (fs::is_directory(in, error)) throw Failure(in + ": this is a folder; give the name of a file in it");
}

const StoredFormat& formatOf(const std::string& in) {
  if (const StoredFormat* format = AnyFormatOf(in)) return *format;
  throw Failure(
      in +
      ": this is none of the files that can be converted (motion, confidence, points, matches, tracks, "
      "events, gains, planes, matrices, strings, effect documents); to read a video use analyse or stabilise");
}

/// The further segments of a file of tracks are made beside the temporary one, and move with it.
class Segments {
 public:
  explicit Segments(const OutputFile& whole) : file(whole) {}
  ~Segments() {
    std::error_code error;
    for (int i = 1; fs::remove(file.temporaryPath() + std::to_string(i), error); ++i) continue;
  }
  Segments(const Segments&) = delete;
  Segments& operator=(const Segments&) = delete;

  void move(bool force) {
    std::error_code error;
    for (int i = 1; fs::exists(made(i), error); ++i) CheckOutput(target(i), force);
    for (int i = 1; fs::exists(made(i), error); ++i) {
      fs::rename(made(i), target(i), error);
      if (error) FailToWrite(target(i), error.value());
    }
  }

 private:
  std::string made(int number) const { return file.temporaryPath() + std::to_string(number); }
  std::string target(int number) const { return file.path() + std::to_string(number); }

  const OutputFile& file;
};

void writeTracks(const StoredFormat& format, const ConvertOptions& options) {
  OutputFile file(options.out);
  Segments segments(file);
  errno = 0;
  if (!Rewrite(format, options.in, file.temporaryPath())) FailToWrite(options.out, errno != 0 ? errno : EIO);
  segments.move(options.force);
  file.commit();
}

void writePresentForm(const StoredFormat& format, const ConvertOptions& options) {
  if (!format.presentForm)
    throw Failure(options.in + ": this is " + format.holds + " (" + format.name +
                  ") in its present form already; give an OUT that ends in .csv for a table");
  if (format.presentForm == std::string("strk")) return writeTracks(format, options);
  const MemoryFile memory;  // since not all writers tell of a full disk
  if (!Rewrite(format, options.in, memory.path())) FailToWrite(options.out, EIO);
  OutputFile::write(options.out, memory.contents());
}

}  // namespace

ExitStatus Convert(const ConvertOptions& options) {
  checkInput(options.in);
  CheckOutput(options.out, options.force, ".csv");
  const StoredFormat& format = formatOf(options.in);
  if (!format.table)
    throw Failure(options.in + ": this is " + format.holds + " (" + format.name +
                  "), which has one form and is no table; `orvane show` tells what it holds");
  const Description description = Describe(format, options.in);
  if (Interrupted()) return Cancelled("nothing was written to " + options.out);
  if (!description["complete"])
    throw Failure(options.in + ": this " + format.name +
                  " file is damaged or was cut short, and nothing is written; `orvane show` tells what is left of it");
  if (Vorn::ToLower(Vorn::GetExtension(options.out.c_str())) == "csv")
    OutputFile::write(options.out, CommaSeparated(description[format.table], options.in));
  else
    writePresentForm(format, options);
  return kDone;
}

}  // namespace film
