#include "CStreloProductTable.h"

namespace {

// Built when the program starts, before any port or timer thread exists. The reader thread finds a
// record here and hands the pointer to the user-interface thread in a queued signal; a record built
// on first use would be built on the reader thread, and the queue that orders it before the read is
// inside Qt, where the thread sanitizer cannot see it.
const STRELO_PRODUCT kStrelo002 {PRODUCT_TEXT("strelo-002"), 2, 0};
const STRELO_PRODUCT kStrelo003 {PRODUCT_TEXT("strelo-003"), 3, 1};
const std::array<const STRELO_PRODUCT *, CStreloProductTable::kRowCount> kRows {&kStrelo002, &kStrelo003};

} // namespace

const std::array<const STRELO_PRODUCT *, CStreloProductTable::kRowCount> &CStreloProductTable::Rows()
{
    // Never changed; receivers of DeviceChanged may keep the pointers.
    return kRows;
}

const STRELO_PRODUCT *CStreloProductTable::FindByHardwareMajor(int hardwareMajor)
{
    for (const STRELO_PRODUCT *product : Rows()) {
        if (product->hardwareMajor == hardwareMajor)
            return product;
    }
    return nullptr;
}

const STRELO_PRODUCT *CStreloProductTable::FindById(const ProductText &id)
{
    const ProductText wanted = ProductTextLower(id);
    for (const STRELO_PRODUCT *product : Rows()) {
        if (product->id == wanted)
            return product;
    }
    return nullptr;
}
