#pragma once
/// The DirectShow vocabulary as text for the log. A text maker writes to the caller's buffer and returns it;
/// without a buffer it asserts and returns null. A dump writes to the log, each line through trace() at the
/// given level; where that level has no reader it touches nothing.

#include "dstl/dshowx/FormatDump.h"
#include "dstl/dshowx/FourccText.h"
#include "dstl/dshowx/GuidNames.h"
#include "dstl/dshowx/MediaTypeDump.h"
#include "dstl/dshowx/MediaTypeText.h"
#include "dstl/dshowx/MemoryDump.h"
#include "dstl/dshowx/SampleDump.h"
#include "dstl/dshowx/TimeText.h"
