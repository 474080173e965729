#pragma once
/// The states of an allocator, and which of its operations each of them admits.

#include "dstl/WinAPI/Platform.h"

#include <vfwmsgs.h>

enum eAllocState : DWORD
{
    AS_Create = 0,       ///< constructed, no semaphore
    AS_Init = 1,         ///< semaphore made, no properties
    AS_Prop = 2,         ///< properties set, no memory
    AS_Committed = 3,    ///< committed, all buffers free
    AS_Partial = 4,      ///< committed, at least one buffer was handed out
    AS_Waiting = 5,      ///< committed, a caller found no free buffer
    AS_Decommitting = 6, ///< decommitted, buffers still out
    AS_Count
};

/// The operations that depend on the state.
enum eAllocOperation
{
    eAO_SetProperties,
    eAO_GetProperties,
    eAO_Commit,
    eAO_Decommit,
    eAO_GetBuffer,
    eAO_ReleaseBuffer,
    eAO_GetFreeCount,
    eAO_Count
};

/// By operation and state: S_OK where the operation does its work, else the result with which it is refused.
// clang-format off
inline constexpr HRESULT rgAllocResults[eAO_Count][AS_Count] = {
    /*                    AS_Create AS_Init             AS_Prop              AS_Committed             AS_Partial               AS_Waiting               AS_Decommitting */
    /* SetProperties */ { E_ABORT,  S_OK,               S_OK,                VFW_E_ALREADY_COMMITTED, VFW_E_ALREADY_COMMITTED, VFW_E_ALREADY_COMMITTED, VFW_E_BUFFERS_OUTSTANDING },
    /* GetProperties */ { E_ABORT,  VFW_E_BUFFER_NOTSET, S_OK,               S_OK,                    S_OK,                    S_OK,                    S_OK },
    /* Commit */        { E_ABORT,  E_FAIL,             S_OK,                S_OK,                    S_OK,                    S_OK,                    S_OK },
    /* Decommit */      { E_ABORT,  E_FAIL,             S_OK,                S_OK,                    S_OK,                    S_OK,                    S_OK },
    /* GetBuffer */     { E_ABORT,  VFW_E_BUFFER_NOTSET, VFW_E_NOT_COMMITTED, S_OK,                   S_OK,                    S_OK,                    VFW_E_NOT_COMMITTED },
    /* ReleaseBuffer */ { E_ABORT,  E_ABORT,            E_ABORT,             S_OK,                    S_OK,                    S_OK,                    S_OK },
    /* GetFreeCount */  { E_ABORT,  VFW_E_BUFFER_NOTSET, VFW_E_NOT_COMMITTED, S_OK,                   S_OK,                    S_OK,                    VFW_E_NOT_COMMITTED },
};
// clang-format on
