#pragma once
/// What a command says about a connection.

#include "SourceFilter.h"
#include "VideoFormat.h"
#include <string>

/// Prints the picture, the agreed media type, the allocator and the sink, and a warning where the picture
/// does not convert to that type. Throws Failure where the type is no video type.
/// @param sink the filter behind the source
VideoFormat PrintConnection(IBaseFilter* source, IBaseFilter* sink, const std::string& picture,
                            const std::string& sinkName);

/// Prints which entries of a list will not be shown, and why.
/// @param frames how many frames there will be: entries that come later are not tried
void PrintUnshownEntries(const std::string& picture, size_t frames);
