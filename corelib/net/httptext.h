#pragma once

#include <string_view>

#include "corelib/base/strings.h"

/// The little that reading a web page takes: links, tags, entities, attributes. All linear in the text.

/// Resolves a link against the present host and document, which become the link's. A credential in front of the host
/// ("user:password@host") goes into HostCredentials. A secure host keeps its "https://".
void UrlToHostDoc(const STRING& url, STRING& host, STRING& doc);

/// Takes the tags out of `text`, each becoming one `replacement`, and turns the entities of German umlauts, the sharp s
/// and the fixed blank into characters (ISO 8859-1). A byte 255 is lost.
void HtmlToText(STRING& text, char replacement);

/// Closes up white space: one blank is left of it between letters and digits, and between a digit and "-" or "+".
void CollapseBlanks(STRING& text);

/// The value of an attribute in a piece of HTML, empty if it is not there. `text` is searched for a blank, `name` and
/// "=" without regard to case. A value without quotes loses its first byte, and one byte at least is taken.
STRING AttributeValue(const STRING& text, std::string_view name);
