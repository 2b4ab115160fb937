// kvpcv_demo [out-dir]: prints the version record and the chosen code path,
// then runs each family's step on the bundled photographs and writes PNG
// results to out-dir (default "out").
#include "demo.h"

#include <sys/stat.h>

#include <vector>

namespace demo {
namespace {
std::vector<std::pair<std::string, Step>>& steps() {
  static std::vector<std::pair<std::string, Step>> s;
  return s;
}
}  // namespace
int registerStep(const char* name, Step step) {
  steps().emplace_back(name, std::move(step));
  return (int)steps().size();
}
}  // namespace demo

int main(int argc, char** argv) {
  demo::Context ctx{KVP_ASSETS_DIR, argc > 1 ? argv[1] : "out"};
  mkdir(ctx.out.c_str(), 0755);
  const KvpLibraryVersion* v = kvpcvGetLibVersion();
  int threads = 0;
  kvpGetNumThreads(&threads);
  std::printf("%s %s, built %s; code path %.4s; %d threads\n", v->name, v->version, v->buildDate,
              v->targetCpu, threads);
  int failed = 0;
  for (auto& [name, step] : demo::steps()) {
    const bool ok = step(ctx);
    std::printf("%-12s %s\n", name.c_str(), ok ? "ok" : "FAILED");
    failed += !ok;
  }
  std::printf("results in %s/\n", ctx.out.c_str());
  return failed ? 1 : 0;
}
