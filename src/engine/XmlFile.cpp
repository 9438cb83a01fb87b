#include "XmlFile.h"

#include "LfError.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace engine {

std::string XmlBytes(const pugi::xml_document& document)
{
    std::ostringstream out;
    document.save(out, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return out.str();
}

std::optional<std::string> ParseXmlFile(const std::string& path, pugi::xml_document& document)
{
    // Read as a fragment so that text beside the document element is seen rather than skipped;
    // comments in a list the user edited by hand are kept when it is saved again.
    const pugi::xml_parse_result result =
        document.load_file(path.c_str(), pugi::parse_default | pugi::parse_comments | pugi::parse_fragment);
    if (!result) {
        std::string reason = result.description();
        if (result.status != pugi::status_file_not_found && result.status != pugi::status_io_error)
            reason += " at offset " + std::to_string(result.offset);
        return reason;
    }
    int elements = 0;
    for (pugi::xml_node child : document.children()) {
        if (child.type() == pugi::node_element)
            ++elements;
        else if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            return std::string("Text outside the document element");
    }
    if (elements == 0)
        return std::string("No document element found");
    if (elements > 1)
        return std::string("More than one top-level element");
    return std::nullopt;
}

void LoadXmlFile(const std::string& path, const std::string& what, const std::string& source,
                 pugi::xml_document& document)
{
    if (auto reason = ParseXmlFile(path, document))
        throw LfError(LfError::kObjectError513, source,
                      "the " + what + " \"" + path + "\" is not a wellformed XML file (" + *reason + ")");
}

void SetChildText(pugi::xml_node parent, const char* name, const std::string& text,
                  std::span<const char* const> order)
{
    pugi::xml_node child = parent.child(name);
    if (!child) {
        const auto self = std::find_if(order.begin(), order.end(),
                                       [&](const char* n) { return std::string_view(n) == name; });
        pugi::xml_node after;
        for (pugi::xml_node candidate : parent.children()) {
            if (candidate.type() == pugi::node_element &&
                std::any_of(order.begin(), self,
                            [&](const char* n) { return std::string_view(n) == candidate.name(); }))
                after = candidate;
        }
        child = after ? parent.insert_child_after(name, after) : parent.prepend_child(name);
    }
    // Setting the text replaces whatever the element held, as the client's DOM does.
    child.remove_children();
    if (!text.empty())
        child.text().set(text.c_str());
}

} // namespace engine
