#pragma once
/* Numbers of the module's resources. Also read by the resource compiler. */

#define IDS_PROJNAME 100
#define IDR_QXSTILLSOURCE 101
#define IDS_TITLEQXSTILLSOURCEPAGE 102
#define IDS_HELPFILEQXSTILLSOURCEPAGE 103
#define IDS_DOCSTRINGQXSTILLSOURCEPAGE 104
