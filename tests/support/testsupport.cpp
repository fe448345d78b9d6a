#include "tests/support/testsupport.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "corelib/base/files.h"
#include "corelib/base/trace.h"

namespace {

int Announced = 0;

// Checks after each test that the assertions which failed are those that it announced.
class ASSERTIONGUARD : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        Announced = 0;
        Before = AssertCount();
    }
    void OnTestEnd(const testing::TestInfo&) override {
        int failed = AssertCount() - Before;
        EXPECT_EQ(failed, Announced) << "assertions of the program that failed in this test (see assert.log)";
    }
    int Before = 0;
};

}  // namespace

void InstallAssertionGuard() {
    // In front of the printer, so that a failure which the guard finds counts for the test that ends.
    auto& listeners = testing::UnitTest::GetInstance()->listeners();
    auto* printer = listeners.Release(listeners.default_result_printer());
    listeners.Append(printer);
    listeners.Append(new ASSERTIONGUARD);
}

void ExpectAssertions(int n) {
    Announced += n;
}

void PrintTo(const STRING& text, std::ostream* out) {
    if (text.NotNull())
        *out << '"' << Std(text) << '"';
    else
        *out << "<null>";
}

TEMPDIR::TEMPDIR() {
    static std::mt19937_64 random{std::random_device{}()};
    auto base = std::filesystem::temp_directory_path();
    std::filesystem::path dir;
    do {
        dir = base / ("tarnwick-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(dir));
    Name = FILES::SystemPath(dir.string().c_str());
}

TEMPDIR::~TEMPDIR() {
    std::error_code ignored;
    std::filesystem::remove_all(Native(), ignored);
}

STRING TEMPDIR::File(const char* name) const {
    return Name || "\\" || name;
}

std::string TEMPDIR::Native(const char* name) const {
    return *name ? Std(FILES::NativePath(File(name).Text())) : Std(FILES::NativePath(Path()));
}

namespace {

// As the system names it, whose own texts may be in another encoding.
std::filesystem::path SystemName(const STRING& path) {
    const STRING native = FILES::NativePath(path.Text());
    return std::u8string(native.View().begin(), native.View().end());
}

}  // namespace

std::string ReadBytes(const STRING& path) {
    std::ifstream in(SystemName(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteBytes(const STRING& path, std::string_view bytes) {
    std::ofstream out(SystemName(path), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

FAKECLOCK::FAKECLOCK(int64_t unixSeconds) : Now(unixSeconds * 1000), Former(CLOCK::SetSource(this)) {}

FAKECLOCK::~FAKECLOCK() {
    CLOCK::SetSource(Former);
}

void FAKECLOCK::Sleep(int ms) {
    Now += ms;
    std::this_thread::yield();
}
