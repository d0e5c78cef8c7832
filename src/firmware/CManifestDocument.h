#pragma once

#include "comm/ByteVector.h"

#include <memory>
#include <optional>
#include <string>

struct _xmlDoc;
struct _xmlXPathContext;

// The parsed manifest of a firmware package and the XPath queries on it.
//
// The manifest is parsed without network access and without loading or expanding entities. A
// manifest has no use for a document type declaration; one that carries one is refused before its
// declarations are read, so entity tricks (expansion bombs, external files) never come into play.
class CManifestDocument
{
public:
    // Parses the manifest; throws CFirmwareException codes 3, 20 and 4.
    explicit CManifestDocument(const ByteVector &bytes);

    // The attribute "version" of the root, when "/package" selects exactly one node and that
    // node has one.
    std::optional<std::string> PackageVersion() const;
    // The text of "/package/<tag>"; throws code 5 unless that selects exactly one node.
    std::string TagText(const std::string &tag) const;

private:
    struct DocumentFree
    {
        void operator()(_xmlDoc *document) const;
    };
    struct ContextFree
    {
        void operator()(_xmlXPathContext *context) const;
    };

    std::unique_ptr<_xmlDoc, DocumentFree> document;
    std::unique_ptr<_xmlXPathContext, ContextFree> context;
};
