#pragma once
/* Numbers of the module's resources. Also read by the resource compiler. */

#define IDS_PROJNAME 100
#define IDR_QXSTILLSOURCE 101
#define IDS_TITLEQXSTILLSOURCEPAGE 102
#define IDS_HELPFILEQXSTILLSOURCEPAGE 103
#define IDS_DOCSTRINGQXSTILLSOURCEPAGE 104
#define IDR_QXSTILLSOURCEPAGE 105
#define IDD_QXSTILLSOURCEPAGE 106

/* Test pictures, resources of the type "CUSTOM". 115 to 119 are reserved for the pictures of "videoq". */
#define IDR_BARSSD 107
#define IDR_BARSHD 108
#define IDR_BARS100 109
#define IDR_BARS75 110
