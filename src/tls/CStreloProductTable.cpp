#include "CStreloProductTable.h"

const std::array<const STRELO_PRODUCT *, CStreloProductTable::kRowCount> &CStreloProductTable::Rows()
{
    // Built on first use and never changed; receivers of DeviceChanged may keep the pointers.
    static const STRELO_PRODUCT strelo002 {QStringLiteral("strelo-002"), 2, 0};
    static const STRELO_PRODUCT strelo003 {QStringLiteral("strelo-003"), 3, 1};
    static const std::array<const STRELO_PRODUCT *, kRowCount> rows {&strelo002, &strelo003};
    return rows;
}

const STRELO_PRODUCT *CStreloProductTable::FindByHardwareMajor(int hardwareMajor)
{
    for (const STRELO_PRODUCT *product : Rows()) {
        if (product->hardwareMajor == hardwareMajor)
            return product;
    }
    return nullptr;
}

const STRELO_PRODUCT *CStreloProductTable::FindById(const QString &id)
{
    const QString wanted = id.toLower();
    for (const STRELO_PRODUCT *product : Rows()) {
        if (product->id == wanted)
            return product;
    }
    return nullptr;
}
