// The one unit of the native build that defines the platform's GUIDs; on Windows they come from libraries.
#include <initguid.h>

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

#include <amvideo.h>
#include <dvdmedia.h>
#include <uuids.h>
#include <wmcodecdsp.h>

#include <cguid.h>
#include <unknwn.h>

// cguid.h only declares it.
extern "C" const IID GUID_NULL = {};
