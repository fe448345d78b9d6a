#include "tests/servers/maildir.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "tests/servers/serverprocess.h"

namespace fs = std::filesystem;

void MAILDIR::GiveToOwner(const std::string& path) const {
    if (chown(path.c_str(), Owner, Group) != 0)
        ADD_FAILURE() << path << " does not go to its owner";
}

void MAILDIR::Create() const {
    for (const char* part : {"", "/new", "/cur", "/tmp"}) {
        fs::create_directories(Path + part);
        GiveToOwner(Path + part);
    }
}

void MAILDIR::Deliver(std::string_view text, const std::string& flags) const {
    static std::atomic<int> delivered = 0;
    Create();
    // Servers take the mails of a folder in the order of their names.
    const int number = delivered++;
    char name[64];
    snprintf(name, sizeof name, "%010d.M%dP%d.test", 1000000000 + number, number, getpid());
    const std::string file =
        Path + (flags.empty() ? "/new/" + std::string(name) : "/cur/" + std::string(name) + ":2," + flags);
    std::ofstream(file, std::ios::binary) << text;
    GiveToOwner(file);
}

std::vector<std::string> MAILDIR::Files() const {
    std::vector<fs::path> files;
    std::error_code none;  // as long as no mail has come
    for (const char* part : {"/new", "/cur"})
        for (const auto& entry : fs::directory_iterator(Path + part, none))
            files.push_back(entry.path());
    std::ranges::sort(files, {}, [](const fs::path& file) { return file.filename(); });
    return {files.begin(), files.end()};
}

std::vector<std::string> MAILDIR::Texts() const {
    std::vector<std::string> texts;
    for (const std::string& file : Files())
        texts.push_back(ReadFile(file));
    return texts;
}

std::vector<std::string> MAILDIR::Flags() const {
    std::vector<std::string> flags;
    for (const std::string& file : Files()) {
        const size_t at = file.find(":2,");
        flags.push_back(at == file.npos ? "" : file.substr(at + 3));
    }
    return flags;
}
