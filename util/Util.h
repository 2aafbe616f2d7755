#pragma once

// The helpers of the core library in one include.
#include "util/UtilContainers.h"
#include "util/UtilDevice.h"
#include "util/UtilPath.h"
#include "util/UtilText.h"
