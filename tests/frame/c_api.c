/* Both public headers compile as C99 and the library is callable from C. */
#include <string.h>

#include "kvpcore.h"
#include "kvpcv.h"

int main(void) {
  const KvpLibraryVersion* v = kvpcvGetLibVersion();
  Kvp8u a[6] = {1, 2, 3, 250, 0, 9}, b[6] = {3, 2, 1, 0, 250, 9}, d[6];
  KvpiSize roi = {3, 2};
  /* Type codes are plain ints to a C caller: any value must be rejected
     cleanly, not only those the enumeration names. */
  const int badTypes[5] = {1000, -1, 257, 269, (int)0x80000001u};
  int i, size = -7;
  if (!v || v->major != 7) return 1;
  if (kvpiAbsDiff_8u_C1R(a, 3, b, 3, d, 3, roi) != kvpStsOk) return 2;
  if (d[0] != 2 || d[3] != 250 || d[4] != 250 || d[5] != 0) return 3;
  if (kvpiAbsDiff_8u_C1R(a, 3, b, 3, NULL, 3, roi) != kvpStsNullPtr) return 4;
  for (i = 0; i < 5; ++i) {
    if (kvpiPyrDownGetBufSize_Gauss5x5(10, (KvpDataType)badTypes[i], 1, &size) != kvpStsBadDataType) return 5;
    if (kvpiPyrUpGetBufSize_Gauss5x5(10, (KvpDataType)badTypes[i], 3, &size) != kvpStsBadDataType) return 6;
  }
  if (size != -7) return 7;
  return 0;
}
