// SPDX-License-Identifier: GPL-3.0-or-later
// What a 12-megapixel JPEG costs from opening to filing, decoder process included, against libvips
// alone decoding the same file to pixels in this process.
#include <vips/vips.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "core/scan_counters.h"
#include "decoding/decoder_table.h"
#include "decoding/image_decoder.h"
#include "image/image_comparer.h"
#include "image/image_pair_sink.h"
#include "image/image_store.h"
#include "storage/cache_store.h"
#include "storage/ignore_list.h"

namespace {

using Clock = std::chrono::steady_clock;

class CNoPairs : public quill::CImagePairSink {
 public:
  bool LockedAdd(Found) override { return true; }
};

double Milliseconds(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Soft light with grain, 4000 x 3000, quality 85: as long to decode as a photograph.
bool MakePicture(const char* path) {
  VipsImage* light = nullptr;
  VipsImage* grain = nullptr;
  VipsImage* sum = nullptr;
  VipsImage* bytes = nullptr;
  VipsImage* bands[3];
  VipsImage* color = nullptr;
  bool made = vips_perlin(&light, 4000, 3000, "cell_size", 400, "uchar", TRUE, nullptr) == 0 &&
              vips_gaussnoise(&grain, 4000, 3000, "sigma", 6.0, "mean", 0.0, nullptr) == 0 &&
              vips_add(light, grain, &sum, nullptr) == 0 &&
              vips_cast_uchar(sum, &bytes, nullptr) == 0;
  if (made) {
    bands[0] = bands[1] = bands[2] = bytes;
    made = vips_bandjoin(bands, &color, 3, nullptr) == 0 &&
           vips_jpegsave(color, path, "Q", 85, nullptr) == 0;
  }
  return made;
}

bool DecodeAlone(const char* path) {
  VipsImage* image = vips_image_new_from_file(path, "access", VIPS_ACCESS_SEQUENTIAL, nullptr);
  if (!image) return false;
  size_t size = 0;
  void* const pixels = vips_image_write_to_memory(image, &size);
  g_object_unref(image);
  g_free(pixels);
  return pixels != nullptr;
}

}  // namespace

int main(int, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  if (VIPS_INIT(argv[0]) != 0) return 1;
  vips_concurrency_set(1);
  vips_cache_set_max(0);
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "quillmarsh-bench-picture";
  std::filesystem::create_directories(folder);
  const std::string path = folder / "photograph.jpg";
  if (!MakePicture(path.c_str())) return 1;

  quill::CCacheStore cache;
  quill::CScanCounters counters;
  quill::CImageStore store(cache, counters);
  const quill::CIgnoreList ignores;
  const quill::ImageSettings settings;
  CNoPairs sink;
  quill::CDecoderTable::Instance().Reload();
  quill::CProcessLink link(quill::CDecoderTable::Instance());
  quill::CImageDecoder decoder(link);
  quill::CImageComparer comparer(decoder, store, ignores, settings, sink);

  double road = 1e9;
  double alone = 1e9;
  for (int round = 0; round < 12; ++round) {
    auto start = Clock::now();
    if (!DecodeAlone(path.c_str())) return 1;
    alone = std::min(alone, Milliseconds(start));
    store.ClearEntries();
    start = Clock::now();
    if (!comparer.ProcessFile(path, 0)) return 1;
    road = std::min(road, Milliseconds(start));
  }
  std::filesystem::remove_all(folder);
  std::printf(
      "12-megapixel JPEG: libvips alone %.1f ms, open to filed %.1f ms, ratio %.2f, goal 1.3: %s\n",
      alone, road, road / alone, road / alone <= 1.3 ? "met" : "missed");
  return road / alone <= 1.3 ? 0 : 1;
}
