// Whole pages through the native format over memory streams, beside a plain copy of the file.

#include <xio.h>

#include <cstring>

#include "compare.h"

namespace rle::bench {
namespace {

std::vector<uint8_t> nativeFile(const Page& page) {
  const OwnedStream stream(xioCreateMemoryStream(nullptr, 0, XIO_WRITE));
  rleUnloadRect(stream.get(), page.rect.get());
  uint32_t size = 0;
  const auto* const bytes = static_cast<const uint8_t*>(xioMemoryStreamBytes(stream.get(), &size));
  return {bytes, bytes + size};
}

void native(const Page& page) {
  const std::vector<uint8_t> file = nativeFile(page);
  const auto loading = [file](benchmark::State& state) {
    auto* const bytes = const_cast<uint8_t*>(file.data());
    for (auto _ : state) {
      const OwnedStream stream(xioCreateMemoryStream(bytes, uint32_t(file.size()), XIO_READ));
      benchmark::DoNotOptimize(OwnedRect(rleLoadRect(stream.get())));
    }
  };
  const auto unloading = [&page](benchmark::State& state) {
    for (auto _ : state) {
      const OwnedStream stream(xioCreateMemoryStream(nullptr, 0, XIO_WRITE));
      benchmark::DoNotOptimize(rleUnloadRect(stream.get(), page.rect.get()));
    }
  };
  const auto copying = [file](benchmark::State& state) {
    std::vector<uint8_t> copy(file.size());
    for (auto _ : state) {
      std::memcpy(copy.data(), file.data(), file.size());
      benchmark::ClobberMemory();
    }
  };
  compare("load a native file", page, loading, {{"memcpy of the file", copying}});
  compare("unload a native file", page, unloading, {{"memcpy of the file", copying}});
  note(page.name + ": " + std::to_string(file.size() / 1000) +
       " KB as a native file (KB over microseconds are GB/s).");
}

const Suite nativeSuite(native);

}  // namespace
}  // namespace rle::bench
