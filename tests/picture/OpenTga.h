#pragma once
/// The reader with its inner steps within a test's reach.

#include "Video/TgaBmp/Tga.h"

class OpenTga : public CTga
{
public:
    using CTga::ColMapEntry;
    using CTga::Convert_BW;
    using CTga::Convert_ColMap;
    using CTga::Convert_TrueColor;
    using CTga::Read;
    using CTga::ReadFile;
    using CTga::ReadRLEImage;
    using CTga::SetPosition;

    using CTga::m_cbColMapEntry;
    using CTga::m_cbDepth;
    using CTga::m_cbImage;
    using CTga::m_eMode;
    using CTga::m_header;
    using CTga::m_pColMap;
    using CTga::m_pImage;
};
