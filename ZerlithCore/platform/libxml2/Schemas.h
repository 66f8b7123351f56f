/// @file
/// The XML Schemas of a document.
#pragma once

#include "ZerlithCore/platform/libxml2/Library.h"
#include "ZerlithCore/platform/libxml2/Parser.h"

#include <libxml/xmlschemas.h>

#include <map>

namespace KZPlatform::LibXml2 {

/// The schemas of a document by their namespaces. They are compiled together when they are first needed.
class Schemas {
public:
    /// Adds a copy of a schema. Errors: BadSchema if the root isn't a schema, is for another namespace, or includes another file.
    DocumentResult Add(std::string const & nameSpace, xmlDoc const * schema);

    /// Validates `doc`. If it doesn't follow the schemas, `fault` says why. Errors: BadSchema.
    DocumentResult Validate(xmlDoc * doc, Fault & fault);

    /// Makes libxml2 look up names that begin with "x-schema:" among the schemas that the calling thread is compiling.
    static void RegisterNames();

private:
    using OwnedSchema = std::unique_ptr<xmlSchema, FreeBy<xmlSchemaFree>>;

    DocumentResult Compile();

    std::map<std::string, OwnedDoc> docs_; // by namespace
    OwnedSchema compiled_;
};

} // namespace KZPlatform::LibXml2
