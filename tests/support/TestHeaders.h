#pragma once
/// What most files of the tests include, compiled once for all of them.

#include "dstl/WinAPI/Platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#ifndef QX_NATIVE
#include <dshow.h>
#include <dvdmedia.h>
#endif
