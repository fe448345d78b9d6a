#include "app/filter/spamvariables.h"

void LoadSpamVariables(STRINGARRAY& vars, const char* file) {
    const bool hasFile = file && *file;
    if (hasFile)
        (void)vars.Load(file);  // the defaults serve
    const int before = vars.Count();
    for (const SPAMVARIABLE& variable : SPAMVARIABLES) {
        if (!vars.Exists(variable.Key) || vars.Get(variable.Key).Length() == 0)
            vars.Set(variable.Key, variable.Default);
    }
    if (hasFile && vars.Count() > before)
        (void)vars.Save(file);  // the next load completes it again
}
