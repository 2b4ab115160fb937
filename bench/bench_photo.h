// The bundled gray photograph for benchmarks that need a real scene.
#pragma once

#include <png.h>

#include <cmath>
#include <string>
#include <vector>

#include "kvpcv.h"

namespace kvpb {

// A bundled photograph in gray (camera.png unless named; colour files are
// converted by the PNG library's own gray conversion), or a synthetic scene
// of rings and bars when the file cannot be read.
inline std::vector<Kvp8u> photo(int& w, int& h, const char* name = "camera.png") {
  std::string path = __FILE__;
  path = path.substr(0, path.find_last_of('/')) + "/../assets/" + name;
  std::vector<Kvp8u> gray;
  png_image im{};
  im.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&im, path.c_str())) {
    im.format = PNG_FORMAT_GRAY;
    gray.resize(PNG_IMAGE_SIZE(im));
    w = (int)im.width;
    h = (int)im.height;
    if (!png_image_finish_read(&im, nullptr, gray.data(), 0, nullptr)) gray.clear();
    png_image_free(&im);
  }
  if (gray.empty()) {
    w = h = 512;
    gray.resize(512 * 512);
    for (int y = 0; y < 512; ++y)
      for (int x = 0; x < 512; ++x)
        gray[(size_t)y * 512 + x] =
            (Kvp8u)(((int)std::hypot(x - 200, y - 260) / 24 % 2) * 120 + (x / 64 % 2) * 100);
  }
  return gray;
}

}  // namespace kvpb
