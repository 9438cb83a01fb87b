#pragma once

#include <pugixml.hpp>

#include <optional>
#include <span>
#include <string>

// The configuration files of the product are XML documents saved the way the client's DOM
// saves them: no XML declaration, elements with text only, no indentation, UTF-8.
namespace engine {

// The document as the wizard saves it.
std::string XmlBytes(const pugi::xml_document& document);

// Parses a file into the document. Returns the parser's reason when the file is not
// well-formed XML (including a missing file or a second top-level element), nothing when it is.
std::optional<std::string> ParseXmlFile(const std::string& path, pugi::xml_document& document);

// Parses the file or raises 0x80040201 "the <what> \"path\" is not a wellformed XML file (reason)".
void LoadXmlFile(const std::string& path, const std::string& what, const std::string& source,
                 pugi::xml_document& document);

// Sets the text of the named child. A missing child is created in its place in `order` (the
// element names in their written order): after the last present child that comes before it
// there, or first when none does.
void SetChildText(pugi::xml_node parent, const char* name, const std::string& text,
                  std::span<const char* const> order);

} // namespace engine
