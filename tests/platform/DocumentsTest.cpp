#include "ZerlithCore/xml/KZDOMDocument.h"
#include "ZerlithCore/xml/KZDOMException.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

// What `Create` says, with `file` as the module beside this program.
std::string ReasonWith(fs::path const & file) {
    fs::path const beside = fs::path(MODULES_FOLDER) / fs::path(DOCUMENT_MODULE).filename();
    fs::remove(beside);
    if (!file.empty()) fs::copy_file(file, beside);
    std::string reason;
    try {
        KZDOMDocument document = KZDOMDocument::Create();
        reason = document.Load(u"<a>is read</a>") ? document.GetRootElement().GetText().AsUTF8() : "not read";
    } catch (KZDOMException const & failure) {
        EXPECT_EQ(failure.GetResultCode(), KZDOMResult::NoModule);
        reason = KZString(failure.What()).AsUTF8();
        EXPECT_NE(reason.find(beside.string()), std::string::npos) << reason;
    }
    fs::remove(beside);
    return reason;
}

// This program is linked from the library's objects, so its own folder is where the module is looked for.
TEST(Documents, NeedTheirModuleBesideTheLibrary) {
    fs::path const folder = MODULES_FOLDER;
    struct {
        fs::path file;
        char const * reason;
    } const cases[] = {
        {"", "can't be loaded"},
        {folder / "CTestTestfile.cmake", "can't be loaded"}, // isn't a library
        {folder / "messages.so", "another version"},
        {folder / "otherdocuments.so", "another version"},
        {DOCUMENT_MODULE, "is read"}, // a failure isn't remembered
    };
    for (auto const & [file, reason] : cases)
        EXPECT_NE(ReasonWith(file).find(reason), std::string::npos) << file << ": " << ReasonWith(file);
}

} // namespace
