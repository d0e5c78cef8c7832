#pragma once

#include "StreloProduct.h"

#include <array>

// The fixed table of Strelo products, in row order.
class CStreloProductTable
{
public:
    static constexpr int kRowCount = 2;

    static const std::array<const STRELO_PRODUCT *, kRowCount> &Rows();
    // The first row with this hardware major version, or null.
    static const STRELO_PRODUCT *FindByHardwareMajor(int hardwareMajor);
    // The first row whose id equals the lower-case form of `id`, or null.
    static const STRELO_PRODUCT *FindById(const ProductText &id);
};
