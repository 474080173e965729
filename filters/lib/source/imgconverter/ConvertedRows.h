#pragma once
/// The rows of a picture in another format, converted when they are asked for.

#include "imgconverter/Block.h"
#include "imgconverter/ConversionMatrix.h"
#include "imgconverter/ResizeScaler.h"

class CConvertedRows final : public IRowSource
{
public:
    /// \param picTarget of the same size
    /// \return false where rows cannot be converted one by one with the very bytes that Img_Convert gives
    bool Open(const BYTE* pbInput, const PicProps& picInput, const PicProps& picTarget) noexcept;

    /// \return bytes of memory for the rows that stay
    size_t WorkSize() const noexcept { return nRowsKept * m_cbRow; }
    void SetMemory(BYTE* pRows) noexcept { m_pRows = pRows; }

    const BYTE* Row(LONG nRow) noexcept override;

private:
    static constexpr size_t nRowsKept = 2;

    BlockPair m_blocks;
    const Conversion* m_pConversion;
    BYTE* m_pRows;
    size_t m_cbRow;
};
