#pragma once
/// The resizer for pictures that do not lie in memory.

#include "imgconverter/ImgConverter.h"
#include "imgconverter/ResizeScaler.h"

/// True for the formats whose rows ResizeFrameOfRows takes: packed YUV.
bool TakesRows(DWORD fccType) noexcept;

/// Img_ResizeFrame for a packed YUV picture whose rows are made when they are asked for. It always scales: a
/// copy is up to the caller. For parameters and results see there. \param rows in the packed format
HRESULT ResizeFrameOfRows(IRowSource& rows, BYTE* pbOutput, const PicProps* pInputProps,
                          const PicProps* pOutputProps, const RECT* prcInput, const RECT* prcOutput,
                          int nMode, BYTE* pTemp, int nSharp) noexcept;
