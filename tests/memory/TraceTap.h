#pragma once
/// Hears every trace line of the program, also those of levels that the trace drops before a log sees them.

#include "support/LogCapture.h"

/// Collects the lines between its construction and its end, on any thread. One at a time.
class TraceTap
{
public:
    TraceTap();
    ~TraceTap();
    TraceTap(const TraceTap&) = delete;
    TraceTap& operator=(const TraceTap&) = delete;

    std::vector<LogLine> Lines() const;
    /// Level and text of each line: "8 text".
    std::vector<std::string> Texts() const;
    void Clear();
    /// The lines so far, which are forgotten.
    std::vector<std::string> Take();
};
