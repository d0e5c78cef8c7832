#include "CManifestDocument.h"

#include "CFirmwareException.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <climits>
#include <mutex>

namespace {

// The name the document is parsed under; it labels the library's diagnostics.
constexpr const char *kDocumentName = "manifiest.xml";

struct ParserFree
{
    void operator()(xmlParserCtxt *parser) const { xmlFreeParserCtxt(parser); }
};

struct ResultFree
{
    void operator()(xmlXPathObject *result) const { xmlXPathFreeObject(result); }
};

struct TextFree
{
    void operator()(xmlChar *text) const { xmlFree(text); }
};

using XPathResult = std::unique_ptr<xmlXPathObject, ResultFree>;

std::string TakeText(xmlChar *text)
{
    const std::unique_ptr<xmlChar, TextFree> owner(text);
    return text != nullptr ? std::string(reinterpret_cast<const char *>(text)) : std::string();
}

// Called by the parser when it meets <!DOCTYPE ...>, before it reads the declarations inside.
void StopAtDocumentType(void *userData, const xmlChar *, const xmlChar *, const xmlChar *)
{
    auto *parser = static_cast<xmlParserCtxt *>(userData);
    *static_cast<bool *>(parser->_private) = true;
    xmlStopParser(parser);
}

xmlDoc *Parse(const ByteVector &bytes)
{
    static std::once_flag initialised;
    std::call_once(initialised, xmlInitParser);
    const std::unique_ptr<xmlParserCtxt, ParserFree> parser(xmlNewParserCtxt());
    if (!parser || bytes.size() > std::size_t(INT_MAX))
        throw CFirmwareException(CFirmwareException::ManifestNotParsable,
                                 "Failed to parse XML manifest");
    bool documentType = false;
    parser->_private = &documentType;
    parser->sax->internalSubset = &StopAtDocumentType;
    xmlDoc *document = xmlCtxtReadMemory(parser.get(), reinterpret_cast<const char *>(bytes.data()),
                                         int(bytes.size()), kDocumentName, nullptr,
                                         XML_PARSE_NONET);
    if (documentType) {
        xmlFreeDoc(document);
        throw CFirmwareException(CFirmwareException::ManifestHasDocumentType,
                                 "The XML manifest must not contain a document type declaration");
    }
    if (document == nullptr)
        throw CFirmwareException(CFirmwareException::ManifestNotParsable,
                                 "Failed to parse XML manifest");
    return document;
}

bool HoldsOneNode(const XPathResult &result)
{
    return result && result->type == XPATH_NODESET && result->nodesetval != nullptr &&
           result->nodesetval->nodeNr == 1;
}

} // namespace

void CManifestDocument::DocumentFree::operator()(_xmlDoc *document) const
{
    xmlFreeDoc(document);
}

void CManifestDocument::ContextFree::operator()(_xmlXPathContext *context) const
{
    xmlXPathFreeContext(context);
}

CManifestDocument::CManifestDocument(const ByteVector &bytes) : document(Parse(bytes))
{
    context.reset(xmlXPathNewContext(document.get()));
    if (!context)
        throw CFirmwareException(CFirmwareException::XPathContextFailed,
                                 "Failed to create a XML path context");
}

std::optional<std::string> CManifestDocument::PackageVersion() const
{
    const XPathResult root(xmlXPathEvalExpression(BAD_CAST "/package", context.get()));
    if (!HoldsOneNode(root))
        return std::nullopt;
    xmlNode *node = root->nodesetval->nodeTab[0];
    if (xmlHasProp(node, BAD_CAST "version") == nullptr)
        return std::nullopt;
    return TakeText(xmlGetProp(node, BAD_CAST "version"));
}

std::string CManifestDocument::TagText(const std::string &tag) const
{
    const std::string path = "/package/" + tag;
    const XPathResult result(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(path.c_str()), context.get()));
    if (!HoldsOneNode(result))
        throw CFirmwareException(CFirmwareException::TagMissing,
                                 "Tag '" + path + "' missing in XML manifest");
    return TakeText(xmlXPathCastNodeSetToString(result->nodesetval));
}
