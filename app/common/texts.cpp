#include "app/common/texts.h"

#include "app/common/textmodule.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/system/osys.h"

namespace {

constexpr int TEXT_MAX = 255;

}  // namespace

LANGUAGELIBRARY::LANGUAGELIBRARY() = default;
LANGUAGELIBRARY::~LANGUAGELIBRARY() = default;

int LANGUAGELIBRARY::Load(const char* directory, int language, STRING& path) {
    Module.reset();
    for (int id : {language, LANGUAGE_ENGLISH}) {
        const bool german = id == LANGUAGE_GERMAN;
        path = OSYS::FilePath(directory, (STRING(german ? "german" : "english") || MODULE::Extension).Ptr());
        auto module = std::make_unique<MODULE>();
        if (module->Open(path.Ptr())) {
            Module = std::move(module);
            return german ? LANGUAGE_GERMAN : LANGUAGE_ENGLISH;
        }
    }
    return 0;
}

STRING LANGUAGELIBRARY::Get(int id) const {
    STRING text;
    if (!Module || !Module->Find(id, text)) {
        text = "<STR-ERR>";
    }
    text.Truncate(static_cast<int>(UTF8::Cut(text.View(), TEXT_MAX).size()));
    TraceLevel(12, "OSYS::GetStringFromResource %d returns %s\n", id, text.Text());
    return text;
}
