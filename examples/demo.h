// The demo runs every registered family step on the bundled images.
// A family adds a file examples/demo_<family>.cpp with
//   KVP_DEMO_STEP("pyramid", [](const demo::Context& ctx) { ...; return true; });
#pragma once

#include <cstdio>
#include <functional>
#include <string>

#include "image_io.h"

namespace demo {

struct Context {
  std::string assets;  // folder of the bundled images
  std::string out;     // folder for the results
  std::string asset(const char* name) const { return assets + "/" + name; }
  std::string output(const char* name) const { return out + "/" + name; }
};

using Step = std::function<bool(const Context&)>;
int registerStep(const char* name, Step step);

}  // namespace demo

#define KVP_DEMO_CONCAT2(a, b) a##b
#define KVP_DEMO_CONCAT(a, b) KVP_DEMO_CONCAT2(a, b)
#define KVP_DEMO_STEP(name, ...) \
  static const int KVP_DEMO_CONCAT(kvpDemoStep_, __LINE__) = demo::registerStep(name, __VA_ARGS__)
