// The single-precision Gaussian 5x5 pyramid levels and the buffer-size
// queries shared by every element type.
#include <climits>
#include <cstring>

#include "frame/bodies.h"
#include "pyramid/pyr_kernels.h"

using namespace kvp::pyr;

namespace {

// Common checks of the size queries: pointer, width, channels, then type.
KvpStatus bufSize(int roiWidth, int dataType, int channels, int* pBufSize, int rows,
                  long long (*rowBytes)(int, int)) {
  if (!pBufSize) return kvpStsNullPtr;
  if (roiWidth < 1) return kvpStsBadSize;
  if (channels != 1 && channels != 3) return kvpStsBadChannels;
  if (dataType != kvp8u && dataType != kvp8s && dataType != kvp32f) return kvpStsBadDataType;
  // Intermediate rows are 32-bit for every element type, so the size does
  // not depend on it; 64 spare bytes pay for aligning the row storage.
  *pBufSize = (int)(rowBytes(roiWidth, channels) * rows + 64);
  return kvpStsOk;
}

// The type code as the caller passed it. A C caller may pass any 32-bit
// value, most of which no enumerator names, so it is read as the int it is
// rather than loaded as the enumeration.
static_assert(sizeof(KvpDataType) == sizeof(int));
int typeCode(const KvpDataType& dataType) {
  int code;
  std::memcpy(&code, &dataType, sizeof code);
  return code;
}

}  // namespace

KvpStatus KVP_BODY(kvpiPyrDownGetBufSize_Gauss5x5)(int roiWidth, KvpDataType dataType, int channels,
                                                   int* pBufSize) {
  return bufSize(roiWidth, typeCode(dataType), channels, pBufSize, 6, downRowBytes);
}

KvpStatus KVP_BODY(kvpiPyrUpGetBufSize_Gauss5x5)(int roiWidth, KvpDataType dataType, int channels,
                                                 int* pBufSize) {
  return bufSize(roiWidth, typeCode(dataType), channels, pBufSize, 3, upRowBytes);
}

KVP_PYR_BODIES(Kvp32f, 32f, 1)
KVP_PYR_BODIES(Kvp32f, 32f, 3)
