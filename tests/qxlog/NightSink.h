#pragma once
/// A sink for a real graph that refuses and fails as a test wants.

#include "support/FakeFilter.h"

/// The scripted filter, with an enumerator of its one pin, which a real graph needs.
class NightSink final : public FakeFilter
{
public:
    STDMETHOD(EnumPins)(IEnumPins** ppEnum) override;
};
