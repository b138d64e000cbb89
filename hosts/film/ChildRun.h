#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace film {

/// A run of this program on one clip, in a process of its own: settings that hold for all of a process, such as the
/// stripe count, are its own, and what ends it ends no other. Ctrl-C reaches it through this program's handler.
class ChildRun {
 public:
  using LineSink = std::function<void(const std::string& line)>;

  /// Starts `program` with `arguments`, its name left out. The lines that it writes go to the sinks, from `read`.
  ChildRun(const std::string& program, const std::vector<std::string>& arguments, LineSink out, LineSink err);
  /// Asks a process that still runs to stop, and waits for it.
  ~ChildRun();
  ChildRun(const ChildRun&) = delete;
  ChildRun& operator=(const ChildRun&) = delete;

  /// Reads what there is without waiting. False when the process has ended; `status` is known then.
  bool read();

  /// Asks the process to stop, as Ctrl-C does.
  void interrupt() const;

  /// What to wait on for more to read; -1 for a stream that has ended.
  int outFile() const { return out.file; }
  int errFile() const { return err.file; }

  /// Its exit status, or minus the number of the signal that ended it.
  int status() const { return exitStatus; }

 private:
  struct Stream {
    int file = -1;
    std::string begun;  // a line without its end
    LineSink sink;

    void read();
    void tell(const std::string& line) const;
  };

  void start(const std::string& program, const std::vector<std::string>& arguments, const int outPipe[2],
             const int errPipe[2]);
  void wait();

  Stream out, err;
  pid_t process = -1;
  int exitStatus = 0;
};

}  // namespace film
