// The charset registry: which pair of converter classes serves a charset name.
//
// One per process. It is created and destroyed under the class library's global lock and filled
// completely during start-up; lookups take no lock and may come from any thread in between, because
// no entry changes until shut-down.
#ifndef ZVSUPPORT_TEXT_CHARSET_REGISTRY_H
#define ZVSUPPORT_TEXT_CHARSET_REGISTRY_H

#include "lang/class.h"
#include "lang/object.h"
#include "lang/ref.h"
#include "text/converter_direction.h"
#include "text/external_charset.h"

#include <cstdint>
#include <vector>

namespace ZVCL {

// The order of charset names: unit by unit, 'a' to 'z' folded to capitals and nothing else. The
// answer is the difference of the first two folded units that differ, 0 when none do.
int compareCharsetNames(const char16_t* left, const char16_t* right) noexcept;

class CZvCharsetRegistry {
public:
    struct Entry {
        const char16_t* name; // static text, not owned
        ZvRef<CZvClass> charToByte;
        ZvRef<CZvClass> byteToChar;
    };

    CZvCharsetRegistry();
    CZvCharsetRegistry(const CZvCharsetRegistry&) = delete;
    CZvCharsetRegistry& operator=(const CZvCharsetRegistry&) = delete;

    // The process's registry. It is made, empty, under the global lock if there is none yet; throws
    // EZvIllegalState when the class library is not started.
    static CZvCharsetRegistry& instance();

    // Enters a name with the classes of those names; nothing happens when the name is there
    // already. `name` must outlive the registry. Throws EZvClassNotFound, and nothing changes.
    void insert(const char16_t* name, const char16_t* charToByteClass,
                const char16_t* byteToCharClass);
    // The entry of a name, or null.
    const Entry* find(const char16_t* name) const noexcept;
    // A new converter for the name: an instance of the registered class, or what an external
    // component gives. Throws EZvUnknownEncoding with the name as its message for an unknown name,
    // EZvIllegalAccess for a class that cannot be created, EZvResultException for a component that
    // refuses.
    ZvRef<CZvObject> createConverter(const char16_t* name, ConverterDirection direction) const;
    // The same for the charset of a code page, "CP" and its number, but null when nobody serves it.
    ZvRef<CZvObject> createCodePageConverter(std::uint32_t codePage, ConverterDirection direction);

    const std::vector<Entry>& entries() const { return sorted; }

private:
    std::vector<Entry> sorted; // by compareCharsetNames
    CodePageComponent codePageComponent;
};

// Start-up, after the class table is filled: creates the registry and enters every name of the
// alias table. Throws what insert throws. A failure leaves what was built for
// destroyCharsetRegistry.
void createCharsetRegistry();
// Shut-down, before the class table goes. Nothing happens when there is no registry.
void destroyCharsetRegistry() noexcept;

} // namespace ZVCL

#endif
