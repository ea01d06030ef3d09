#include "core/com/shared_library.h"

#include "core/com/server_folder.h"
#include "support/converter_cases.h"

#include <string>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

using namespace zv::core;
using zv::test::errorOf;

class SharedLibrary : public zv::test::ServerFolderTest {};

std::string error(ResultCode code, const char* message) {
    return "EZvResultException " + std::to_string(code) + ": " + message;
}

TEST_F(SharedLibrary, IsHeldFromConstructionToDestruction) {
    {
        const CZvSharedLibrary library(serverPath().c_str());
        const auto canUnload =
            reinterpret_cast<DllCanUnloadNowFunction>(library.GetSymbol(u"DllCanUnloadNow"));
        EXPECT_EQ(canUnload(), 0);
        const CZvSharedLibrary again(serverPath().c_str());
        EXPECT_EQ(again.GetSymbol(u"DllCanUnloadNow"), library.GetSymbol(u"DllCanUnloadNow"));
        EXPECT_EQ(log(), "load ");
    }
    EXPECT_EQ(log(), "load unload ");
}

TEST_F(SharedLibrary, IsFoundByABareName) {
    // One beside the test program, and one of the system's.
    EXPECT_NE(CZvSharedLibrary(u"zv_component_server").GetSymbol(u"DllGetClassObject"), nullptr);
    EXPECT_NE(CZvSharedLibrary(u"kernel32").GetSymbol(u"LoadLibraryW"), nullptr);
}

TEST_F(SharedLibrary, ThatIsNoneIsNotOpened) {
    zv::test::writeFile("broken.dll", "no library");
    const std::u16string here = folder.path().u16string();
    for (const std::u16string& name :
         {std::u16string(u"no_such_library"), std::u16string(5000, u'x'), std::u16string(u"\u3042"),
          here, here + u"/gone.dll", here + u"/broken.dll"}) {
        EXPECT_EQ(errorOf([&] { CZvSharedLibrary unused(name.c_str()); }),
                  error(kFail, "Failed to open shared library."))
            << zv::test::narrowed(name);
    }
    EXPECT_EQ(errorOf([] { CZvSharedLibrary unused(nullptr); }),
              error(kInvalidArgument, "Failed to open shared library."));

    const CZvSharedLibrary library(serverPath().c_str());
    for (const char16_t* name : {u"DllGetClassObjec", u"dllgetclassobject", u"", u"\u3042"})
        EXPECT_EQ(errorOf([&] { library.GetSymbol(name); }), error(kFail, "Failed to get symbol."));
    EXPECT_EQ(errorOf([&] { library.GetSymbol(nullptr); }),
              error(kInvalidArgument, "Failed to get symbol."));
}

TEST_F(SharedLibrary, FunctionsClearTheirOutParametersFirst) {
    Handle library = 7;
    EXPECT_EQ(ZvSharedLibraryLoad(u"no_such_library", library), kFail);
    EXPECT_EQ(library, kNoHandle);
    for (const Handle none : {kNoHandle, Handle{0}}) {
        FARPROC address = [] {};
        EXPECT_EQ(ZvSharedLibrarySymbol(none, u"malloc", address), kInvalidHandle);
        EXPECT_EQ(address, nullptr);
        EXPECT_EQ(ZvSharedLibraryFree(none), kInvalidHandle);
    }
}

TEST_F(SharedLibrary, WithoutAStartedLibraryIsGivenBackButNotOpened) {
    Handle library = kNoHandle;
    ASSERT_EQ(ZvSharedLibraryLoad(serverPath().c_str(), library), kOk);
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    EXPECT_EQ(ZvSharedLibraryFree(library), kOk);
    EXPECT_EQ(log(), "load unload ");
    EXPECT_EQ(ZvSharedLibraryLoad(serverPath().c_str(), library), kFail);
    EXPECT_EQ(library, kNoHandle);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
}

} // namespace
} // namespace ZVCL
