#pragma once

#include <QString>

// The name of a map lump (0 to 63) for an internal map version (19, 20, 21 or
// 22). "Unused" where the version has no such lump, "Unknown" for a number or
// version outside these.
QString BSP_lumpName(int lump, int internalVersion);
