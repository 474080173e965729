#pragma once
/// The DirectShow vocabulary as text for the log. A text maker writes to the caller's buffer and returns it;
/// without a buffer it asserts and returns null. A dump writes to the log, each line through trace() at the
/// given level; where that level has no reader it touches nothing.

#include "dstl/dshowx/dumps/FormatDump.h"
#include "dstl/dshowx/dumps/FourccText.h"
#include "dstl/dshowx/dumps/GuidNames.h"
#include "dstl/dshowx/dumps/MediaTypeDump.h"
#include "dstl/dshowx/dumps/MediaTypeText.h"
#include "dstl/dshowx/dumps/MemoryDump.h"
#include "dstl/dshowx/dumps/SampleDump.h"
#include "dstl/dshowx/dumps/TimeText.h"
