// Runs a target on the files, and the files of the folders, that are named on the command line.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  if (!file.is_open() || file.bad()) {
    std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
    return false;
  }
  // In a block of its own, where a byte read too far is noticed.
  std::vector<uint8_t> input(bytes.begin(), bytes.end());
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  int replayed = 0;
  for (int i = 1; i < count; ++i) {
    std::vector<std::filesystem::path> files{arguments[i]};
    if (std::filesystem::is_directory(arguments[i])) {
      files.clear();
      for (const auto& entry : std::filesystem::directory_iterator(arguments[i]))
        files.push_back(entry.path());
    }
    for (const auto& file : files) {
      if (!replay(file)) return 2;
      ++replayed;
    }
  }
  std::printf("%d files\n", replayed);
  return replayed == 0 ? 2 : 0;
}
