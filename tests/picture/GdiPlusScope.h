#pragma once
/// GDI+ for the length of a scope: what a pin does for the pictures that are loaded during its life.

#include "dstl/Old/GDIPlusHelpers.h"

class GdiPlusScope
{
public:
    GdiPlusScope() { GdiPlusStart(&m_nToken); }
    ~GdiPlusScope() { GdiPlusStop(m_nToken); }
    GdiPlusScope(const GdiPlusScope&) = delete;
    GdiPlusScope& operator=(const GdiPlusScope&) = delete;

private:
    ULONG_PTR m_nToken = 0;
};
