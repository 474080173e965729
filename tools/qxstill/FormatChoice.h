#pragma once
/// Which pixel format the frames have, where the command line leaves that open.

#include "SourceFilter.h"
#include "VideoFormat.h"
#include <functional>
#include <string>
#include <vector>

/// Has the unconnected source offer a format that is accepted. With --format it is that one and no other.
/// Otherwise the picture's own comes first and then the others in their order; a line says which of these and
/// why. Throws Failure where there are no frames in what was asked for, as for an odd width in UYVY.
/// @param taker who accepts, in words: "the Video Renderer"
/// @param accepts is asked while the source offers the format
/// @return false if none was accepted; the source then offers what it did before
bool ChooseFormat(IBaseFilter* source, const SourceOptions& options, const std::vector<std::string>& others,
                  const std::string& taker, const std::function<bool(const VideoFormat&)>& accepts);
