#pragma once
/// COM for the length of a scope.

#include "Failure.h"
#include <objbase.h>

class ComApartment
{
public:
    /// Throws Failure.
    explicit ComApartment(DWORD apartment)
    {
        Check(CoInitializeEx(nullptr, apartment), "COM does not start");
    }
    ~ComApartment() { CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};
