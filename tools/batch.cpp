#include "batch.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>

#include "failure.h"
#include "formats.h"
#include "progress_bar.h"

namespace rle {
namespace {

// The jobs and what became of them, shared by the threads.
class Batch {
 public:
  Batch(const Conversion& conversion, const std::vector<Job>& jobs)
      : conversion_(conversion), jobs_(jobs), bar_(jobs.size()) {}

  void work() {
    while (const Job* job = next()) {
      std::string failure;
      std::string note;
      try {
        note = convertFile(conversion_, job->in, job->out);
      } catch (const std::exception& error) {
        failure = error.what();
        // Which of many files failed must be told even when the file written is to blame.
        if (const std::string file = job->in + ": "; !failure.starts_with(file))
          failure.insert(0, file);
      }
      finish(failure, note);
    }
  }

  size_t failures() const { return failures_; }

 private:
  const Job* next() {
    const std::lock_guard lock(mutex_);
    return begun_ < jobs_.size() ? &jobs_[begun_++] : nullptr;
  }

  void finish(const std::string& failure, const std::string& note) {
    const std::lock_guard lock(mutex_);
    if (!failure.empty()) {
      ++failures_;
      bar_.print("rle: " + failure);
    }
    if (!note.empty()) bar_.print("rle: " + note);
    bar_.jobDone();
  }

  const Conversion& conversion_;
  const std::vector<Job>& jobs_;
  std::mutex mutex_;
  size_t begun_ = 0;
  size_t failures_ = 0;
  ProgressBar bar_;
};

}  // namespace

std::vector<Job> jobsInto(const std::string& directory, const std::vector<std::string>& inputs,
                          int32_t format) {
  std::vector<Job> jobs;
  std::map<std::string, std::string> inputOf;
  for (const std::string& in : inputs) {
    const std::string name = std::filesystem::path(in).stem().string() + extensionOf(format);
    const std::string out = (std::filesystem::path(directory) / name).string();
    const auto [place, isNew] = inputOf.emplace(out, in);
    if (!isNew)
      throw UsageError(std::string(place->second)
                           .append(" and ")
                           .append(in)
                           .append(" would both become ")
                           .append(out));
    jobs.push_back({in, out});
  }
  return jobs;
}

size_t convertAll(const Conversion& conversion, const std::vector<Job>& jobs, unsigned threads) {
  Batch batch(conversion, jobs);
  std::vector<std::jthread> workers(std::min<size_t>(threads, jobs.size()));
  for (std::jthread& worker : workers) worker = std::jthread([&batch] { batch.work(); });
  workers.clear();  // joins them
  return batch.failures();
}

}  // namespace rle
