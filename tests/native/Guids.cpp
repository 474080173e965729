// The one unit of the native build that defines the platform's GUIDs; on Windows they come from libraries.
#include <initguid.h>

#include "dstl/WinAPI/Platform.h"

#include <strmif.h>

#include <amvideo.h>
#include <dvdmedia.h>
#include <uuids.h>

#include <cguid.h>
#include <unknwn.h>
