// Band routines of the border filters for the library's baseline
// instruction set.
#define KVP_BF_ISA base
#define KVP_BF_TABLE kBandsBase
#include "filter/border_bands.h"
