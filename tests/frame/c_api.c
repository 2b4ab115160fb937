/* Both public headers compile as C99 and the library is callable from C. */
#include <string.h>

#include "kvpcore.h"
#include "kvpcv.h"

int main(void) {
  const KvpLibraryVersion* v = kvpcvGetLibVersion();
  Kvp8u a[6] = {1, 2, 3, 250, 0, 9}, b[6] = {3, 2, 1, 0, 250, 9}, d[6];
  KvpiSize roi = {3, 2};
  if (!v || v->major != 7) return 1;
  if (kvpiAbsDiff_8u_C1R(a, 3, b, 3, d, 3, roi) != kvpStsOk) return 2;
  if (d[0] != 2 || d[3] != 250 || d[4] != 250 || d[5] != 0) return 3;
  if (kvpiAbsDiff_8u_C1R(a, 3, b, 3, NULL, 3, roi) != kvpStsNullPtr) return 4;
  return 0;
}
