#include "core/lifecycle.h"
#include "io/byte_array_input_stream.h"
#include "io/data_input_stream.h"
#include "lang/big_integer.h"
#include "lang/class.h"
#include "lang/exception.h"
#include "lang/string.h"
#include "util/array_list.h"
#include "util/hash_map.h"
#include "util/object_list.h"
#include "util/object_map.h"
#include "util/rw_buffer.h"

#include <cstdint>
#include <cstdio>

using namespace ZVCL;

namespace {

void show(const CZvString& text) {
    std::printf("%s\n", text.toNarrow());
}

void tour() {
    // Strings share their characters until one of them changes.
    CZvString greeting(u"Hello");
    CZvString louder = greeting;
    louder.toUpperCase();
    greeting.replace(-1, 0, u", ").replace(-1, 0, louder.getBuffer());
    show(greeting);

    // Objects that several hold are made with makeRef and end with their last ZvRef.
    CZvObjectList<CZvString> names(makeRef<CZvArrayList>());
    for (const char16_t* name : {u"Grace", u"Ada", u"Edsger"})
        names.add(makeRef<CZvString>(name));

    CZvObjectMap<CZvString, CZvBigInteger> powers(makeRef<CZvHashMap>());
    for (const ZvRef<CZvString>& name : names) {
        const auto power = makeRef<CZvBigInteger>(std::int32_t{10});
        power->pow(CZvBigInteger(6 * name->getLength()));
        powers.put(name, power);
    }
    show(powers.get(makeRef<CZvString>(u"Ada"))->toString());

    // Converters know charsets by name; streams read typed values.
    CZvRWByteBuffer bytes;
    names.get(0)->getBytes(bytes, u"UTF-16BE");
    CZvDataInputStream in(makeRef<CZvByteArrayInputStream>(bytes.getBuffer(), bytes.getLength()));
    std::printf("the first character is %c\n", in.ReadChar());

    // Classes are found by name, and exceptions say what went wrong.
    const ZvRef<CZvClass> record = CZvClass::forName(u"CZvLinkedList");
    const auto list = ZvRef<CZvObject>::share(record->newInstance());
    std::printf("an empty list hashes to %u\n", list->hashCode());
    try {
        names.get(3);
    } catch (const EZvRangeError&) {
        std::printf("there is no fourth name\n");
    }
}

} // namespace

// A host starts the library by loading it; a program with the library inside does so itself.
int main() {
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    const ResultCode code = resultFrame([] {
        tour();
        return zv::core::kOk;
    });
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    return code < 0;
}
