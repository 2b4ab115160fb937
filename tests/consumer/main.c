#include <kvpcv.h>
#include <stdio.h>

int main(void) {
  const KvpLibraryVersion* v = kvpcvGetLibVersion();
  Kvp32f acc[2] = {1.f, 2.f};
  const Kvp8u src[2] = {3, 4};
  KvpiSize roi = {2, 1};
  if (kvpiAdd_8u32f_C1IR(src, 2, acc, 8, roi) != kvpStsOk || acc[0] != 4.f || acc[1] != 6.f) return 1;
  printf("%s %s\n", v->name, v->version);
  return 0;
}
