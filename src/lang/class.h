// Runtime classes: a record for each class, found by name or by type.
//
// The class table is filled at class library start-up and not changed until shut-down; in between
// look-ups take no lock and may come from any thread.
#ifndef ZVSUPPORT_LANG_CLASS_H
#define ZVSUPPORT_LANG_CLASS_H

#include "lang/object.h"
#include "lang/ref.h"

#include <typeinfo>
#include <vector>

namespace ZVCL {

class CZvClass final : public CZvObject {
public:
    // Makes a default-constructed object with count 0.
    using Create = CZvObject* (*)();

    // The record of that name or of that exact type. Throws EZvClassNotFound with what was sought
    // as its message (for a type its readable name); EZvIllegalState when the library is not
    // started.
    static ZvRef<CZvClass> forName(const char16_t* name);
    static ZvRef<CZvClass> forType(const std::type_info& type);

    // name and type must outlive the record; create may be null.
    CZvClass(const char16_t* name, const std::type_info& type, Create create) noexcept
        : name(name), type(&type), create(create) {}

    const char16_t* getName() const noexcept { return name; }
    // Whether the object's class is exactly this one; an object of a derived class is none.
    bool isInstance(const CZvObject& object) const noexcept { return typeid(object) == *type; }
    // A new object with count 0. Throws EZvIllegalAccess for a class that is not created by name.
    [[nodiscard]] CZvObject* newInstance() const;

    const std::type_info& getType() const noexcept { return *type; }

private:
    const char16_t* name;
    const std::type_info* type;
    Create create;
};

class CZvClassTable {
public:
    CZvClassTable() = default;
    CZvClassTable(const CZvClassTable&) = delete;
    CZvClassTable& operator=(const CZvClassTable&) = delete;

    // The process's table. It is made, empty, under the global lock if there is none yet; throws
    // EZvIllegalState when the library is not started.
    static CZvClassTable& instance();
    // Drops the table's references to its records, under the global lock where there is one.
    static void destroy() noexcept;

    void reserve(std::size_t records);
    // Adds a record, unless there is one of that name. During start-up only.
    void registerClass(const char16_t* name, const std::type_info& type, CZvClass::Create create);

    // The record, or null.
    CZvClass* findName(const char16_t* name) const noexcept;
    CZvClass* findType(const std::type_info& type) const noexcept;

    std::size_t size() const noexcept { return byName.size(); }

private:
    // The same records in two orders, filled once and then only searched, so sorted arrays serve
    // better than trees: by the code units of the name, and by type_info's collation.
    std::vector<ZvRef<CZvClass>> byName;
    std::vector<ZvRef<CZvClass>> byType;
};

// A record of the static class list; the list ends with a null type.
struct ClassListEntry {
    const char16_t* name;
    const std::type_info* type;
    CZvClass::Create create; // null for a class that is not created by name
};

// Every class of the library, in registration order.
extern const ClassListEntry kClassList[];

} // namespace ZVCL

#endif
