#include "tests/app/console/programrun.h"

#include <cstdlib>

#include "corelib/base/files.h"
#include "corelib/system/osys.h"

namespace {

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string Native(const STRING& path) {
    return Std(FILES::NativePath(path.Text()));
}

}  // namespace

bool PROGRAMRUN::HasSignals() {
    return FILES::NativePath("\\") == "/";
}

std::string PROGRAMRUN::CommandLine(std::initializer_list<std::string> words, const STRING& dataDir) const {
    const STRING program = OSYS::FilePath(OSYS::FileDirectory(OSYS::ProgramPath().Text()).Text(),
                                          HasSignals() ? "tarnwickc" : "tarnwickc.exe");
    std::string line = Quoted(Native(program)) + " " + Quoted("/WORKDIR:" + Native(dataDir)) + " /LANG:ENGL";
    for (const std::string& word : words)
        line += " " + Quoted(word);
    return line + " >" + Quoted(Native(File("out"))) + " 2>" + Quoted(Native(File("err")));
}

PROGRAMRUN::RESULT PROGRAMRUN::System(const std::string& command) {
    // The shell of Windows takes one pair of quotes off around the whole.
    const int status = std::system((HasSignals() ? command : Quoted(command)).c_str());
    return {HasSignals() ? status >> 8 : status, ReadBytes(File("out")), ReadBytes(File("err"))};
}

PROGRAMRUN::RESULT PROGRAMRUN::Start(std::initializer_list<std::string> words, const STRING& dataDir) {
    return System(CommandLine(words, dataDir));
}

PROGRAMRUN::RESULT PROGRAMRUN::RunUntil(const std::string& text, const std::string& signal,
                                        std::initializer_list<std::string> words, bool outlives) {
    // A hang-up is told, also where the tests themselves run with hang-ups ignored.
    return System(
        (outlives ? "env --ignore-signal=HUP " : "env --default-signal=HUP ") + CommandLine(words, DataDir()) +
        " & pid=$!; n=0\n"
        "until grep -q " +
        Quoted(text) + " " + Quoted(Native(File("out"))) +
        " || [ $n = 600 ]; do n=$((n+1)); sleep 0.05; done\n"
        "kill -" +
        signal + " $pid" +
        (outlives ? "; sleep 0.3; ! grep -q Ending " + Quoted(Native(File("out"))) + " || exit 77; kill -TERM $pid"
                  : "") +
        "; wait $pid");
}
