#include "film/Batch.h"

#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "film/BatchResult.h"
#include "film/ChildRun.h"
#include "film/Interrupt.h"
#include "film/JsonText.h"

namespace film {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds drawInterval{200};
constexpr size_t mostNotes = 100;  // lines kept of a clip's messages
const std::string prefix = "orvane: ";

/// A clip that is being worked on.
struct Job {
  BatchResult* result = nullptr;
  std::unique_ptr<ChildRun> child;
  std::vector<std::string> messages;
  Clock::time_point began;
};

class Batch {
 public:
  explicit Batch(const BatchOptions& batchOptions) : options(batchOptions) {
    for (BatchClip& clip : FindBatchClips(options.clips, options.outFolder)) {
      results.emplace_back();
      results.back().clip = std::move(clip);
    }
  }

  ExitStatus run() {
    if (!options.outFolder.empty() && hadWork()) MakeOutFolder(options.outFolder);
    size_t next = 0;
    while (true) {
      while (jobs.size() < static_cast<size_t>(options.jobs) && next < results.size()) begin(&results[next++]);
      if (jobs.empty()) break;
      waitForOutput();
      endFinished();
      draw();
    }
    return tell();
  }

 private:
  void begin(BatchResult* result) {
    if (Interrupted()) {
      result->state = BatchResult::Cancelled;
    } else if (!result->clip.error.empty()) {
      fail(result, result->clip.error);
    } else {
      jobs.push_back(std::make_unique<Job>());
      Job* job = jobs.back().get();
      job->result = result;
      job->began = Clock::now();
      result->state = BatchResult::Running;
      job->child = std::make_unique<ChildRun>(
          options.program, argumentsFor(result->clip), [this, job](const std::string& line) { hear(job, line); },
          [job](const std::string& line) {
            if (job->messages.size() == mostNotes) job->messages.erase(job->messages.begin());
            job->messages.push_back(line);
          });
    }
  }

  std::vector<std::string> argumentsFor(const BatchClip& clip) const {
    const int processors =
        options.threads > 0 ? options.threads : static_cast<int>(std::thread::hardware_concurrency());
    std::vector<std::string> arguments{options.command};
    arguments.push_back(clip.path.starts_with("-") ? "./" + clip.path : clip.path);
    if (!clip.out.empty()) arguments.push_back("--out=" + clip.out);
    arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
    arguments.emplace_back("--progress=json");
    arguments.push_back("--threads=" + std::to_string(std::max(1, processors / options.jobs)));
    return arguments;
  }

  void hear(Job* job, const std::string& line) {
    nlohmann::ordered_json heard = nlohmann::ordered_json::parse(line, nullptr, false);
    if (!heard.is_object()) return;
    job->result->hear(heard);
    if (options.progress != ProgressStyle::Json) return;
    nlohmann::ordered_json told{{"clip", job->result->clip.path}};
    told.update(heard);
    std::printf("%s\n", JsonText(told).c_str());
    std::fflush(stdout);
  }

  void waitForOutput() const {
    std::vector<pollfd> files;
    for (const std::unique_ptr<Job>& job : jobs)
      for (const int file : {job->child->outFile(), job->child->errFile()})
        if (file >= 0) files.push_back({file, POLLIN, 0});
    poll(files.data(), files.size(), static_cast<int>(drawInterval.count()));
  }

  void endFinished() {
    for (const std::unique_ptr<Job>& job : jobs)
      if (!job->child->read()) end(job.get());
    std::erase_if(jobs, [](const std::unique_ptr<Job>& job) { return job->result->state != BatchResult::Running; });
  }

  void end(Job* job) {
    BatchResult* result = job->result;
    const int status = job->child->status();
    result->seconds = std::chrono::duration<double>(Clock::now() - job->began).count();
    clearLine();
    if (status == kCancelled || (Interrupted() && status != kDone)) {
      result->state = BatchResult::Cancelled;
    } else if (status != kDone) {
      const std::string error = takeError(job, status);
      print(*job);
      return fail(result, error);
    } else {
      result->state = BatchResult::Done;
    }
    print(*job);
    if (options.progress == ProgressStyle::Lines || options.progress == ProgressStyle::Bar)
      std::fprintf(stderr, "%s: %s after %s\n", OnOneLine(result->clip.path).c_str(),
                   result->state == BatchResult::Done ? "done" : "cancelled",
                   Progress::TimeText(result->seconds).c_str());
  }

  /// What stopped a run: its last message.
  static std::string takeError(Job* job, int status) {
    if (status < 0)
      return job->result->clip.path + ": the program broke down on it (" + strsignal(-status) +
             "); run it alone with --log FILE to see where";
    for (size_t i = job->messages.size(); i-- > 0;)
      if (job->messages[i].starts_with(prefix)) {
        std::string error = job->messages[i].substr(prefix.size());
        job->messages.erase(job->messages.begin() + static_cast<std::ptrdiff_t>(i));
        return error;
      }
    return job->result->clip.path + ": it ended with the status " + std::to_string(status);
  }

  void print(const Job& job) const {
    if (options.progress == ProgressStyle::None) return;
    for (const std::string& line : job.messages) std::fprintf(stderr, "%s\n", line.c_str());
    if (options.progress == ProgressStyle::Json) return;  // there they are in the summary
    for (const std::string& line : job.result->warnings())
      std::fprintf(stderr, "%s%s\n", prefix.c_str(), OnOneLine(line).c_str());
  }

  void fail(BatchResult* result, const std::string& error) {
    result->state = BatchResult::Failed;
    result->error = error;
    clearLine();
    std::fprintf(stderr, "%s%s\n", prefix.c_str(), error.c_str());
  }

  void draw() {
    if (options.progress != ProgressStyle::Bar || Clock::now() - drawn < drawInterval) return;
    drawn = Clock::now();
    std::fprintf(stderr, "\r%s\033[K", StatusText(results, TerminalColumns(stderr) - 1).c_str());
    std::fflush(stderr);
  }

  void clearLine() const {
    if (options.progress == ProgressStyle::Bar) std::fputs("\r\033[K", stderr);
  }

  bool hadWork() const {
    return std::any_of(results.begin(), results.end(), [](const BatchResult& r) { return r.clip.error.empty(); });
  }

  ExitStatus tell() {
    clearLine();
    if (options.progress == ProgressStyle::Json)
      std::printf("%s\n", JsonText(DescribeResults(results)).c_str());
    else if (options.progress != ProgressStyle::None && hadWork())
      std::printf("%s", TableText(results).c_str());
    const auto any = [&](BatchResult::State state) {
      return std::any_of(results.begin(), results.end(), [&](const BatchResult& r) { return r.state == state; });
    };
    return any(BatchResult::Cancelled) ? kCancelled : any(BatchResult::Failed) ? kFailed : kDone;
  }

  const BatchOptions& options;
  std::vector<BatchResult> results;
  std::vector<std::unique_ptr<Job>> jobs;
  Clock::time_point drawn;
};

}  // namespace

ExitStatus RunBatch(const BatchOptions& options) { return Batch(options).run(); }

}  // namespace film
