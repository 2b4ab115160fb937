// The frame as a caller sees it: version record, exported symbols, the
// shape of the entry stubs and the tables behind them.
#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "harness.h"

namespace {

std::set<std::string> declaredFunctions() {
  std::ifstream in(KVP_HEADER_PATH);
  std::stringstream ss;
  ss << in.rdbuf();
  const std::string text = ss.str();
  // Each "KVP_API <return type> name(" declares one function.
  std::set<std::string> names;
  for (size_t at = text.find("KVP_API "); at != std::string::npos; at = text.find("KVP_API ", at + 1)) {
    const size_t paren = text.find('(', at);
    size_t begin = paren;
    while (begin > at && (std::isalnum((unsigned char)text[begin - 1]) || text[begin - 1] == '_')) --begin;
    const std::string name = text.substr(begin, paren - begin);
    if (name.rfind("kvp", 0) == 0) names.insert(name);
  }
  return names;
}

std::set<std::string> dynamicSymbols() {
  std::set<std::string> names;
  FILE* p = popen("nm -D --defined-only " KVP_LIB_PATH, "r");
  if (!p) return names;
  char line[1024];
  while (fgets(line, sizeof line, p)) {
    std::istringstream ls(line);
    std::string a, b, c;
    ls >> a >> b >> c;
    names.insert(c.empty() ? b : c);
  }
  pclose(p);
  return names;
}

void* library() {
  static void* h = dlopen(KVP_LIB_PATH, RTLD_NOW | RTLD_NOLOAD);
  return h;
}

TEST(Version, RecordFields) {
  const KvpLibraryVersion* v = kvpcvGetLibVersion();
  ASSERT_NE(nullptr, v);
  EXPECT_EQ(7, v->major);
  EXPECT_EQ(1, v->minor);
  EXPECT_EQ(1, v->majorBuild);
  EXPECT_EQ(37466, v->build);
  EXPECT_STREQ("7.1.1 (r37466)", v->version);
  EXPECT_STREQ("Sep 24 2012", v->buildDate);
  const std::string cpu(v->targetCpu, 4);
  const Kvp64u f = kvpGetEnabledCpuFeatures();
  if ((f & KVP_CPU_MOVBE) && (f & KVP_CPU_SSSE3)) {
    EXPECT_EQ(std::string("n8\0\0", 4), cpu);
    EXPECT_STREQ("kvpCV Lumo (n8)", v->name);
  } else {
    EXPECT_EQ(std::string("u8\0\0", 4), cpu);
    EXPECT_STREQ("kvpCV SSSE3 (u8)", v->name);
  }
  EXPECT_EQ(v, kvpcvGetLibVersion()) << "one constant record per path";
}

TEST(Exports, OnlyPublicFunctionsIndexAndTables) {
  const auto declared = declaredFunctions();
  ASSERT_GT(declared.size(), 30u);
  std::set<std::string> expected = {"kvpJumpIndexForMergedDLL", "USE_NOT_INITED", "_init", "_fini"};
  for (const auto& n : declared) {
    expected.insert(n);
    expected.insert(n + "_arraddr");
  }
  const auto exported = dynamicSymbols();
  ASSERT_FALSE(exported.empty()) << "nm could not read the library";
  for (const auto& n : exported) EXPECT_TRUE(expected.count(n)) << "unexpected dynamic symbol " << n;
  for (const auto& n : declared) {
    EXPECT_TRUE(exported.count(n)) << "missing export " << n;
    EXPECT_TRUE(exported.count(n + "_arraddr")) << "missing table " << n;
  }
}

// Every stub is: movslq index(%rip),%rax; leaq table(%rip),%r11;
// jmp *(%r11,%rax,8) - a tail jump with no frame and no test.
TEST(Exports, StubsAreTailJumpsThroughTheirTable) {
  ASSERT_NE(nullptr, library());
  const auto* index = static_cast<const unsigned char*>(dlsym(library(), "kvpJumpIndexForMergedDLL"));
  ASSERT_NE(nullptr, index);
  const int path = *reinterpret_cast<const int*>(index);
  EXPECT_TRUE(path == 0 || path == 1);
  for (const auto& n : declaredFunctions()) {
    SCOPED_TRACE(n);
    const auto* code = static_cast<const unsigned char*>(dlsym(library(), n.c_str()));
    auto* const* table = static_cast<void* const*>(dlsym(library(), (n + "_arraddr").c_str()));
    ASSERT_NE(nullptr, code);
    ASSERT_NE(nullptr, table);
    ASSERT_EQ(0x48, code[0]);
    ASSERT_EQ(0x63, code[1]);
    ASSERT_EQ(0x05, code[2]);
    int32_t disp;
    std::memcpy(&disp, code + 3, 4);
    EXPECT_EQ(index, code + 7 + disp) << "stub reads the code-path index";
    ASSERT_EQ(0x4c, code[7]);
    ASSERT_EQ(0x8d, code[8]);
    ASSERT_EQ(0x1d, code[9]);
    std::memcpy(&disp, code + 10, 4);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(table), code + 14 + disp) << "stub uses its own table";
    const unsigned char jump[] = {0x41, 0xff, 0x24, 0xc3};
    EXPECT_EQ(0, std::memcmp(code + 14, jump, 4));
    EXPECT_NE(nullptr, table[0]);
    EXPECT_NE(nullptr, table[1]);
  }
}

TEST(Exports, OnlyTheDualFunctionsHaveTwoBodies) {
  ASSERT_NE(nullptr, library());
  int dual = 0;
  for (const auto& n : declaredFunctions()) {
    auto* const* table = static_cast<void* const*>(dlsym(library(), (n + "_arraddr").c_str()));
    ASSERT_NE(nullptr, table);
    if (table[0] != table[1]) ++dual;
  }
  auto* const* version = static_cast<void* const*>(dlsym(library(), "kvpcvGetLibVersion_arraddr"));
  EXPECT_NE(version[0], version[1]);
  EXPECT_LE(dual, 19);
}

}  // namespace
