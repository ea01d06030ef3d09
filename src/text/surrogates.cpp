#include "text/surrogates.h"

#include "lang/exception.h"
#include "lang/string.h"

namespace ZVCL {

void throwLeadWithoutTrail() {
    throw EZvInvalidCharacter(CZvString::literal(u"leading surrogate without trailing"));
}

void throwTrailWithoutLead() {
    throw EZvInvalidCharacter(CZvString::literal(u"trailing surrogate without leading"));
}

} // namespace ZVCL
