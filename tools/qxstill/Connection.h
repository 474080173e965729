#pragma once
/// What a command says about a connection.

#include "VideoFormat.h"
#include <dshow.h>
#include <string>

/// Prints the picture, the agreed media type, the allocator and the sink. Throws Failure where the type is no
/// video type.
/// @param sink the filter behind the source
VideoFormat PrintConnection(IBaseFilter* source, IBaseFilter* sink, const std::string& picture,
                            const std::string& sinkName);
