#pragma once
/// "qxstill inspect": the filter and its pin as a host sees them.

#include "SourceFilter.h"

/// Prints interfaces, properties, pins, media types and capabilities. An empty picture leaves the filter as
/// it is made. Throws Failure.
void RunInspect(const SourceOptions& options);
