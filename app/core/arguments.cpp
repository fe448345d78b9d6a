#include "app/core/arguments.h"

#include <cstring>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

namespace {

/// What stands after "/" or "-" and the name; null if the word is another one.
const char* BehindName(const STRING& word, const STRING& name) {
    const char* text = word.Text();
    if (text[0] != '/' && text[0] != '-') {
        return nullptr;
    }
    return stricmp(word.Mid(1, name.Length()).Ptr(), name.Text(), false) == 0 ? text + 1 + name.Length() : nullptr;
}

bool IsAbsolute(std::string_view path) {
    return path.starts_with('/') || path.starts_with('\\') || (path.size() > 1 && path[1] == ':');
}

// Values, and options of the trace log, are read from words that begin with "/"; to the user a "-" is the same.
void PutSlash(std::string& word) {
    if (!word.starts_with('-'))
        return;
    size_t end = 1;
    while (end < word.size() && ASCII::IsLetter(word[end]))
        ++end;
    const std::string_view name = std::string_view(word).substr(1, end - 1);
    const bool log = ASCII::BeginsWith(name, "LOG") || ASCII::Equal(name, "NOASSERT");
    if (log || (end > 1 && word[end] == ':'))
        word[0] = '/';
}

std::vector<const char*> Pointers(const std::vector<std::string>& words) {
    std::vector<const char*> pointers;
    pointers.reserve(words.size());
    for (const std::string& word : words) {
        pointers.push_back(word.c_str());
    }
    return pointers;
}

}  // namespace

std::vector<std::string> CompletePaths(std::vector<std::string> words) {
    for (size_t i = 1; i < words.size(); ++i) {
        PutSlash(words[i]);
        for (const char* name : {"/WORKDIR:", "/PASSWORDFILE:", "/SCORE:", "/LEARNGOOD:", "/LEARNSPAM:", "/LOGIT:",
                                 "/LOGITHARD:", "/REPORT:"}) {
            const size_t length = std::string_view(name).size();
            if (words[i].size() <= length || !ASCII::BeginsWith(words[i], name)) {
                continue;
            }
            if (words[i].substr(length) == "-") {
                continue;
            }
            const STRING path = FILES::SystemPath(words[i].substr(length).c_str());
            const STRING whole = IsAbsolute(path.View()) ? path : OSYS::FilePath(nullptr, path.Text());
            words[i] = name + std::string(whole.View());
        }
    }
    return words;
}

DYNARRAY<STRING> SplitCommandLine(const char* commandLine) {
    DYNARRAY<STRING> words(16, 16);
    const char* at = commandLine ? commandLine : "";
    for (;;) {
        at += strspn(at, " ");
        if (!*at) {
            return words;
        }
        const bool quoted = *at == '"';
        at += quoted;
        const size_t length = strcspn(at, quoted ? "\"" : " ");
        words.Add(STRING(std::string_view(at, length)));
        at += length + (quoted && at[length] ? 1 : 0);
    }
}

ARGUMENTS::ARGUMENTS(const std::vector<std::string>& words)
    : ARGUMENTS(static_cast<int>(words.size()), Pointers(words).data()) {}

ARGUMENTS::ARGUMENTS(const char* program) : ARGUMENTS(program, "") {}

ARGUMENTS::ARGUMENTS(const char* program, const char* commandLine) : Words(SplitCommandLine(commandLine)) {
    Words.Insert(0, STRING(FailOnNull(program, "ARGUMENTS")));
    Line = STRING(commandLine ? commandLine : "");
    Line.Strip('B', " ");
}

ARGUMENTS::ARGUMENTS(int argc, const char* const* argv) : Words(16, 16), Line("") {
    Words.Add(STRING(argc > 0 ? argv[0] : ""));
    for (int i = 1; i < argc; ++i) {
        Words.Add(STRING(argv[i]));
        Line.Append(i > 1 ? " " : "");
        Line.Append(argv[i]);
    }
}

void ARGUMENTS::AddFile(const char* filename) {
    DYNARRAY<STRING> lines(16, 16);
    if (!OSYS::FileExists(filename) || lines.LoadLines(filename) == 0) {
        return;
    }
    Trace("Loading commandline.ini");
    for (int i = 0; i < lines.Count(); ++i) {
        lines[i].Strip('B', " \t\r");
        if (lines[i].Length() > 0) {
            std::string word(lines[i].View());
            PutSlash(word);
            Words.Add(STRING(std::string_view(word)));
        }
    }
}

void ARGUMENTS::ApplyLogOptions() {
    for (; Applied < Words.Count(); ++Applied) {
        LogOption(Words[Applied].Text());
    }
}

bool ARGUMENTS::TestArg(const char* name) const {
    bool found = false;
    for (int i = 1; i < Words.Count() && !found; ++i) {
        const char* rest = BehindName(Words[i], name);
        found = rest && !*rest;
    }
    Trace("TestArg(\"%s\") returned %d\n", name, static_cast<int>(found));
    return found;
}

const STRING* ARGUMENTS::FindValue(const char* name, int n) const {
    for (int i = 1; i < Words.Count(); ++i) {
        if (BehindName(Words[i], name) && n-- == 0) {
            return &Words[i];
        }
    }
    return nullptr;
}

bool ARGUMENTS::TestArgValue(const char* name, int n) const {
    const bool found = FindValue(name, n) != nullptr;
    Trace("TestArgValue(\"%s\", %d) returned %d\n", name, n, static_cast<int>(found));
    return found;
}

STRING ARGUMENTS::GetArgValue(const char* name, int n) const {
    STRING value;
    if (const STRING* word = FindValue(name, n)) {
        value = "";
        if (word->Text()[0] == '/') {
            value = BehindName(*word, name);
            if (value.Length() > 0) {
                value.ChopFirst(':');
            }
        }
    }
    Trace("GetArgValue(\"%s\", %d) returned %s\n", name, n, value.Text());
    return value;
}
