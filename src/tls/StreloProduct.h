#pragma once

// The product id is the toolkit's text type in the program. The Win32 test programs build the
// protocol core with the mingw-w64 cross compiler, for which the toolkit is not available; they
// define LICHTWART_WITHOUT_QT and get plain text instead, with the same two operations.
#ifdef LICHTWART_WITHOUT_QT
#include <algorithm>
#include <cctype>
#include <string>
using ProductText = std::string;
#define PRODUCT_TEXT(literal) std::string(literal)
inline ProductText ProductTextLower(ProductText text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}
#else
#include <QString>
using ProductText = QString;
#define PRODUCT_TEXT(literal) QStringLiteral(literal)
inline ProductText ProductTextLower(const ProductText &text)
{
    return text.toLower();
}
#endif

// One product of the Strelo family. The records live in the product table for the whole run,
// so a pointer to one may be kept and passed through queued signals.
struct STRELO_PRODUCT
{
    ProductText id;    // "strelo-002", "strelo-003"
    int hardwareMajor; // the hardware major version by which a connected head is recognised
    int variant;       // handed to the boot loader by the firmware upgrade
};
