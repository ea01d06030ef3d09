#include "core/com/components.h"

#include "core/com/client_data.h"
#include "core/com/server_folder.h"
#include "core/global_data.h"
#include "core/heap.h"
#include "core/registry/native_reg_key.h"
#include "lang/ref.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

using test::classId;
using test::ServerClass;
using test::ServerCounts;
using ZVCL::IClassFactory;
using ZVCL::IZvComparable;
using ZVCL::IZvUnknown;
using ZVCL::ZvIid;
using ZVCL::ZvRef;

constexpr ZvIid kOtherIid = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

// What a call answered: its code and its object, or null.
template <typename Interface>
struct Answer {
    ResultCode code;
    ZvRef<Interface> object;
};

template <typename Interface>
Answer<Interface> create(ServerClass which, const ZvIid& iid = Interface::kIid,
                         IZvUnknown* outer = nullptr) {
    void* object = &object;
    const ResultCode code = CreateInstance(classId(which), outer, iid, &object);
    return {code, ZvRef<Interface>::adopt(static_cast<Interface*>(object))};
}

template <typename Interface>
Answer<Interface> classObject(ServerClass which, const ZvIid& iid = Interface::kIid) {
    void* object = &object;
    const ResultCode code = GetClassObject(classId(which), iid, &object);
    return {code, ZvRef<Interface>::adopt(static_cast<Interface*>(object))};
}

bool isKept(ServerClass which) {
    return bool(g_globalData.clientData->factories().FindFactory(classId(which)));
}

class Components : public test::ServerFolderTest {
protected:
    static std::u16string keyOf(ServerClass which) {
        char16_t text[78];
        EXPECT_EQ(GuidToString(classId(which), text, 78), kOk);
        return u"CLSID\\" + std::u16string(text) + u"\\InprocServer32";
    }
    static void setValue(ServerClass which, const char16_t* name, RegValueType type,
                         const void* data, std::size_t size) {
        ASSERT_EQ(NativeRegSetValue(HKEY_CLASSES_ROOT_VALUE, keyOf(which).c_str(), name, type, data,
                                    static_cast<std::uint32_t>(size)),
                  kOk);
    }
    static void registerServer(ServerClass which, const std::u16string& path,
                               RegValueType type = kRegString) {
        setValue(which, nullptr, type, path.c_str(), (path.size() + 1) * sizeof(char16_t));
    }

    // Of the server that is loaded.
    ServerCounts& counts() {
        Handle library = kNoHandle;
        FARPROC entry = nullptr;
        EXPECT_EQ(ZvSharedLibraryLoad(serverPath().c_str(), library), kOk);
        const UniqueSharedLibrary held(library);
        EXPECT_EQ(ZvSharedLibrarySymbol(library, u"ComponentServerCounts", entry), kOk);
        return *reinterpret_cast<test::ComponentServerCountsFunction>(entry)();
    }
};

TEST_F(Components, AreMadeByAServerThatIsLoadedOnceAndUnloadedAtShutDown) {
    registerServer(ServerClass::Counted, serverPath());
    for (const std::string before : {"", "load released unload "}) {
        auto first = create<IZvComparable>(ServerClass::Counted);
        auto second = create<IZvUnknown>(ServerClass::Counted);
        ASSERT_EQ(first.code, kOk);
        ASSERT_EQ(second.code, kOk);
        std::uint32_t hash = 0;
        EXPECT_EQ(first.object->HashCode(&hash), kOk);
        EXPECT_EQ(hash, 42u);
        EXPECT_EQ(log(), before + "load ");
        ServerCounts& server = counts();
        EXPECT_EQ(server.requests, 1);
        EXPECT_EQ(server.requestsForFactories, 1); // whatever the caller finally wants
        EXPECT_EQ(server.objects, 2);
        first.object.reset();
        second.object.reset();
        EXPECT_EQ(server.objects, 0);
        EXPECT_EQ(server.classObjectReferences, 1); // the manager's
        restartLibrary();
        EXPECT_EQ(log(), before + "load released unload ");
    }
}

TEST_F(Components, AnswerEveryInterfaceFromTheFirstClassObject) {
    registerServer(ServerClass::Counted, serverPath());
    {
        const auto unknown = classObject<IZvUnknown>(ServerClass::Counted);
        const auto factory = classObject<IClassFactory>(ServerClass::Counted);
        ASSERT_EQ(unknown.code, kOk);
        ASSERT_EQ(factory.code, kOk);
        EXPECT_EQ(unknown.object.get(), factory.object.get());
        const auto other = classObject<IZvUnknown>(ServerClass::Counted, kOtherIid);
        EXPECT_EQ(other.code, kNoInterface);
        EXPECT_FALSE(other.object);
        EXPECT_EQ(counts().requests, 1);
        EXPECT_EQ(counts().classObjectReferences, 3);
    }
    EXPECT_EQ(counts().classObjectReferences, 1);
    EXPECT_EQ(log(), "load ");
}

TEST_F(Components, WithoutAServerAreNotMadeAndNothingIsKept) {
    const auto put = [&](RegValueType type, const std::u16string& text, bool terminated = true) {
        return [=] {
            setValue(ServerClass::Unavailable, nullptr, type, text.c_str(),
                     (text.size() + (terminated ? 1 : 0)) * sizeof(char16_t));
        };
    };
    struct Case {
        const char* what;
        std::function<void()> prepare;
        ResultCode code;
        const char* log; // what the server did
    };
    const Case cases[] = {
        {"no key", [] {}, kClassNotRegistered, ""},
        {"another value alone",
         [] { setValue(ServerClass::Unavailable, u"ThreadingModel", kRegString, u"Both", 10); },
         kClassNotRegistered, ""},
        {"an empty text", put(kRegString, u""), kClassNotRegistered, ""},
        {"a number", put(kRegNumber, u"x"), kClassNotRegistered, ""},
        {"bytes", put(kRegBinary, serverPath()), kClassNotRegistered, ""},
        {"a list", put(kRegMultiString, serverPath()), kClassNotRegistered, ""},
        {"260 characters", put(kRegString, std::u16string(260, u'x')), kClassNotRegistered, ""},
        {"260 without an end", put(kRegString, std::u16string(260, u'x'), false),
         kClassNotRegistered, ""},
        {"259 characters", put(kRegString, std::u16string(259, u'x')), kFail, ""},
        {"no such file", put(kRegString, serverPath() + u".none"), kFail, ""},
        {"no entry point", put(kRegString, u"kernel32.dll"), kFail, ""},
        {"an unknown class", put(kRegString, serverPath()), test::kClassNotAvailable,
         "load unload "},
        {"no end, and an unknown class", put(kRegString, serverPath(), false),
         test::kClassNotAvailable, "load unload load unload "},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        one.prepare();
        const auto answer = create<IZvUnknown>(ServerClass::Unavailable);
        EXPECT_EQ(answer.code, one.code);
        EXPECT_FALSE(answer.object);
        EXPECT_EQ(log(), one.log);
        EXPECT_FALSE(isKept(ServerClass::Unavailable));
    }

    registerServer(ServerClass::Counted, serverPath() + u".none");
    EXPECT_EQ(create<IZvUnknown>(ServerClass::Counted).code, kFail);
    registerServer(ServerClass::Counted, serverPath(), kRegExpandString); // mended
    EXPECT_EQ(create<IZvUnknown>(ServerClass::Counted).code, kOk);
    EXPECT_TRUE(isKept(ServerClass::Counted));
}

TEST_F(Components, PassOnWhatTheServerAnswersButNoObjectWithAFailure) {
    for (const ServerClass which : {ServerClass::Counted, ServerClass::NoObject,
                                    ServerClass::BadObject, ServerClass::NoFactory})
        registerServer(which, serverPath());
    const auto outer = create<IZvUnknown>(ServerClass::Counted);
    ASSERT_EQ(outer.code, kOk);
    const struct {
        Answer<IZvUnknown> answer;
        ResultCode code;
    } cases[] = {
        {create<IZvUnknown>(ServerClass::Counted, kOtherIid), kNoInterface},
        {create<IZvUnknown>(ServerClass::Counted, IZvUnknown::kIid, outer.object.get()),
         test::kNoAggregation},
        {create<IZvUnknown>(ServerClass::NoObject), kFail},
        {create<IZvUnknown>(ServerClass::BadObject), kFail},
        {create<IZvUnknown>(ServerClass::NoFactory), kFail},
    };
    for (const auto& [answer, code] : cases) {
        EXPECT_EQ(answer.code, code);
        EXPECT_FALSE(answer.object);
    }
    EXPECT_FALSE(isKept(ServerClass::NoFactory));
    EXPECT_EQ(counts().objects, 1);
    EXPECT_EQ(CreateInstance(classId(ServerClass::Counted), nullptr, IZvUnknown::kIid, nullptr),
              kPointer);
    EXPECT_EQ(GetClassObject(classId(ServerClass::Counted), IZvUnknown::kIid, nullptr), kPointer);
}

TEST_F(Components, AreNotMadeWhileTheLibraryIsNotStarted) {
    registerServer(ServerClass::Counted, serverPath());
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    const auto object = create<IZvUnknown>(ServerClass::Counted);
    const auto factory = classObject<IClassFactory>(ServerClass::Counted);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    EXPECT_EQ(object.code, kFail);
    EXPECT_FALSE(object.object);
    EXPECT_EQ(factory.code, kFail);
    EXPECT_FALSE(factory.object);
}

TEST_F(Components, AreMadeByAnyThreadAndTheirServerIsAskedOnce) {
    registerServer(ServerClass::Counted, serverPath());
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round)
                failures += create<IZvComparable>(ServerClass::Counted).code != kOk;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(counts().requests, 1);
    EXPECT_EQ(counts().objects, 0);
    EXPECT_EQ(counts().classObjectReferences, 1);
    EXPECT_EQ(log(), "load ");
}

// A manager of one's own: what it loaded goes with it, but not under a reference that is left.
TEST_F(Components, StayLoadedWhileTheirEntryIsHeld) {
    registerServer(ServerClass::Counted, serverPath());
    CoreRef<CZvFactoryData> entry;
    {
        CZvFactoryManager manager;
        EXPECT_FALSE(manager.FindFactory(classId(ServerClass::Counted)));
        manager.GetClassObject(classId(ServerClass::Counted), IClassFactory::kIid);
        entry = manager.FindFactory(classId(ServerClass::Counted));
        EXPECT_EQ(entry.get(), manager.FindFactory(classId(ServerClass::Counted)).get());
    }
    EXPECT_EQ(log(), "load ");
    entry.reset();
    EXPECT_EQ(log(), "load released unload ");
}

int allocationsLeft;

TEST_F(Components, SurviveEveryAllocationFailure) {
    registerServer(ServerClass::Counted, serverPath());
    ResultCode code = kOutOfMemory;
    for (int n = 0; code != kOk; ++n) {
        ASSERT_LT(n, 1000);
        allocationsLeft = n;
        setHeapGate([] { return allocationsLeft-- > 0; });
        const auto answer = classObject<IClassFactory>(ServerClass::Counted);
        setHeapGate(nullptr);
        code = answer.code;
        if (code != kOk) {
            EXPECT_EQ(code, kOutOfMemory) << n;
            EXPECT_FALSE(answer.object) << n;
            EXPECT_FALSE(isKept(ServerClass::Counted)) << n;
            EXPECT_TRUE(log().empty() || log().ends_with("unload ")) << n;
        }
    }
    EXPECT_EQ(counts().classObjectReferences, 1);
    EXPECT_TRUE(log().ends_with("released unload load ")) << log(); // the last failures came late
}

} // namespace
} // namespace zv::core
