// Minimal PNG input and output for the demo (libpng's simplified API).
#pragma once

#include <string>
#include <vector>

#include "kvpcv.h"

namespace demo {

// An 8-bit image with 1 (gray) or 3 (RGB) interleaved channels, rows packed.
struct Image {
  int width = 0, height = 0, channels = 0;
  std::vector<Kvp8u> pixels;
  int step() const { return width * channels; }
  KvpiSize size() const { return {width, height}; }
  Kvp8u* data() { return pixels.data(); }
  const Kvp8u* data() const { return pixels.data(); }
};

// Reads a PNG as gray (channels 1) or RGB (channels 3); empty on failure.
Image readPng(const std::string& path, int channels);
bool writePng(const std::string& path, const Image& img);

// Linear map of a float plane to 0..255 (min -> 0, max -> 255).
Image floatToGray(const float* data, int step, KvpiSize size);

}  // namespace demo
