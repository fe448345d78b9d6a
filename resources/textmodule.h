#pragma once

/// What a loadable module of texts exports under the name TextTable: the texts in UTF-8, ended by an entry without
/// text.
struct TEXTENTRY {
    int Id;
    const char* Utf8;
};
