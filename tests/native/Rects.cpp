// Rectangle arithmetic of user32.
#include "dstl/WinAPI/Platform.h"

BOOL WINAPI SetRect(RECT* prc, int nLeft, int nTop, int nRight, int nBottom)
{
    if (!prc)
        return FALSE;
    *prc = {nLeft, nTop, nRight, nBottom};
    return TRUE;
}

BOOL WINAPI SetRectEmpty(RECT* prc)
{
    return SetRect(prc, 0, 0, 0, 0);
}

BOOL WINAPI IsRectEmpty(const RECT* prc)
{
    return !prc || prc->left >= prc->right || prc->top >= prc->bottom;
}

BOOL WINAPI EqualRect(const RECT* prcA, const RECT* prcB)
{
    return prcA && prcB && prcA->left == prcB->left && prcA->top == prcB->top && prcA->right == prcB->right &&
           prcA->bottom == prcB->bottom;
}
