#include "imgconverter/MixBlock.h"

HRESULT OpenMix(BlockPair& blocks, const BYTE* pbInput, BYTE* pbOutput, const PicProps& picInput,
                const PicProps& picOutput, const RECT* prcInput, const RECT* prcOutput) noexcept
{
    const HRESULT hr = OpenBlocks(blocks, pbInput, pbOutput, &picInput, &picOutput, prcInput, prcOutput);
    if (hr == S_OK)
        TurnDestination(blocks);
    return hr;
}

HRESULT OpenFields(FieldPair& fields, const PicProps& picInput, const PicProps& picOutput,
                   const RECT* prcInput, const RECT* prcOutput, int nField) noexcept
{
    RECT srcRect;
    RECT dstRect;
    const HRESULT hr = NormalizeRects(&picInput, &picOutput, &srcRect, &dstRect, false, prcInput, prcOutput);
    if (hr != S_OK)
        return hr;
    const bool bSecond = nField > 0;
    const bool bUnlike = IsRGBFormat(picInput.fccType) && (picInput.nHeight > 0) != (picOutput.nHeight > 0);
    if (!OpenField(fields.input, picInput, srcRect, bSecond) ||
        !OpenField(fields.output, picOutput, dstRect, bSecond != bUnlike))
        return E_INVALIDARG;
    return S_OK;
}
