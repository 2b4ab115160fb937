#include "image_io.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace demo {

Image readPng(const std::string& path, int channels) {
  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  Image img;
  if (!png_image_begin_read_from_file(&png, path.c_str())) return img;
  png.format = channels == 3 ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  img.width = (int)png.width;
  img.height = (int)png.height;
  img.channels = channels;
  img.pixels.resize((size_t)img.width * img.height * channels);
  if (!png_image_finish_read(&png, nullptr, img.pixels.data(), img.step(), nullptr)) return Image{};
  return img;
}

bool writePng(const std::string& path, const Image& img) {
  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  png.width = (png_uint_32)img.width;
  png.height = (png_uint_32)img.height;
  png.format = img.channels == 3 ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  return png_image_write_to_file(&png, path.c_str(), 0, img.pixels.data(), img.step(), nullptr) != 0;
}

Image floatToGray(const float* data, int step, KvpiSize size) {
  Image img{size.width, size.height, 1, std::vector<Kvp8u>((size_t)size.width * size.height)};
  float lo = INFINITY, hi = -INFINITY;
  auto row = [&](int y) {
    return reinterpret_cast<const float*>(reinterpret_cast<const char*>(data) + (size_t)step * y);
  };
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      if (std::isfinite(row(y)[x])) {
        lo = std::min(lo, row(y)[x]);
        hi = std::max(hi, row(y)[x]);
      }
  const float scale = hi > lo ? 255.f / (hi - lo) : 0.f;
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x) {
      const float v = row(y)[x];
      img.pixels[(size_t)y * size.width + x] = std::isfinite(v) ? (Kvp8u)std::lround((v - lo) * scale) : 255;
    }
  return img;
}

}  // namespace demo
