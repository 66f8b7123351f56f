/// @file
/// The XML Schemas of a document.
#pragma once

#include "ZerlithCore/platform/libxml2/Library.h"
#include "ZerlithCore/platform/libxml2/Parser.h"

#include <libxml/xmlschemas.h>

#include <map>

namespace KZPlatform::LibXml2 {

/// Schemas by their namespace, compiled together when they are first needed.
class Schemas {
public:
    /// Copies a schema. Errors: BadSchema for another root or namespace, and for one that includes others.
    DocumentResult Add(std::string const & nameSpace, xmlDoc const * schema);

    /// Errors: BadSchema. A document that doesn't follow the schemas is told in `fault`.
    DocumentResult Validate(xmlDoc * doc, Fault & fault);

    /// Makes libxml2 look up names that begin "x-schema:" among the schemas that the thread compiles just now.
    static void RegisterNames();

private:
    using OwnedSchema = std::unique_ptr<xmlSchema, FreeBy<xmlSchemaFree>>;

    DocumentResult Compile();

    std::map<std::string, OwnedDoc> docs_; // by namespace
    OwnedSchema compiled_;
};

} // namespace KZPlatform::LibXml2
