// An in-process component server as others write them: on its own, over the interface headers
// alone.
#include "component_server.h"

#include <cstdio>
#include <iterator>

namespace zv::test {
namespace {

using ZVCL::IClassFactory;
using ZVCL::IZvComparable;
using ZVCL::IZvUnknown;

ServerCounts counts;

void note(const char* event) {
    if (std::FILE* log = std::fopen(kServerLog, "ab")) {
        std::fprintf(log, "%s ", event);
        std::fclose(log);
    }
}

struct LoadNotes {
    LoadNotes() { note("load"); }
    ~LoadNotes() { note("unload"); }
} loadNotes;

template <typename Interface>
ResultCode query(Interface* self, const ZvIid& iid, void** object) {
    const bool known = iid == IZvUnknown::kIid || iid == Interface::kIid;
    *object = known ? self : nullptr;
    if (known)
        self->AddRef();
    return known ? core::kOk : core::kNoInterface;
}

class Counted final : public IZvComparable {
public:
    Counted() { ++counts.objects; }
    ~Counted() { --counts.objects; }

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override {
        return query<IZvComparable>(this, iid, object);
    }
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return ++references; }
    std::uint32_t ZV_INTERFACE_CALL Release() override {
        const std::uint32_t left = --references;
        if (left == 0)
            delete this;
        return left;
    }
    ResultCode ZV_INTERFACE_CALL CompareTo(IZvUnknown* other, std::int32_t* order) override {
        *order = other == this ? 0 : 1;
        return core::kOk;
    }
    ResultCode ZV_INTERFACE_CALL HashCode(std::uint32_t* hash) override {
        *hash = 42;
        return core::kOk;
    }

private:
    std::atomic<std::uint32_t> references{1};
};

class ClassObject final : public IClassFactory {
public:
    explicit ClassObject(ServerClass which) : which(which) {}

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override {
        return query<IClassFactory>(this, iid, object);
    }
    std::uint32_t ZV_INTERFACE_CALL AddRef() override {
        return static_cast<std::uint32_t>(++counts.classObjectReferences);
    }
    std::uint32_t ZV_INTERFACE_CALL Release() override {
        const int left = --counts.classObjectReferences;
        if (left == 0)
            note("released");
        return static_cast<std::uint32_t>(left);
    }
    ResultCode ZV_INTERFACE_CALL CreateInstance(IZvUnknown* outer, const ZvIid& iid,
                                                void** object) override {
        *object = nullptr;
        if (which == ServerClass::NoObject)
            return core::kOk;
        if (which == ServerClass::BadObject) {
            *object = &counts;
            return core::kFail;
        }
        if (outer != nullptr)
            return kNoAggregation;
        return core::coreFrame([&] {
            Counted* created = new Counted;
            const ResultCode code = created->QueryInterface(iid, object);
            created->Release();
            return code;
        });
    }
    ResultCode ZV_INTERFACE_CALL LockServer(BOOL) override { return core::kNotImplemented; }

private:
    ServerClass which;
};

ClassObject classObjects[] = {ClassObject(ServerClass::Counted), ClassObject(ServerClass::NoObject),
                              ClassObject(ServerClass::BadObject)};

} // namespace

extern "C" {

ResultCode ZV_STDAPI_CALL DllGetClassObject(const core::Guid& clsid, const ZvIid& iid,
                                            void** object) {
    *object = nullptr;
    ++counts.requests;
    if (iid == IClassFactory::kIid)
        ++counts.requestsForFactories;
    if (clsid == classId(ServerClass::NoFactory))
        return core::kOk;
    for (std::uint8_t i = 0; i < std::size(classObjects); ++i) {
        if (clsid == classId(static_cast<ServerClass>(i)))
            return classObjects[i].QueryInterface(iid, object);
    }
    return kClassNotAvailable;
}

ResultCode ZV_STDAPI_CALL DllCanUnloadNow() {
    return counts.objects == 0 && counts.classObjectReferences == 0 ? 0 : 1;
}

ServerCounts* ZV_STDAPI_CALL ComponentServerCounts() {
    return &counts;
}

} // extern "C"

} // namespace zv::test
