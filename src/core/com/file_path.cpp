#include "core/com/file_path.h"

#include "core/com/path_normalizer.h"
#include "lang/exception.h"

#include <string_view>

namespace ZVCL {

CZvFilePath::CZvFilePath(const CZvString& given) : path(given) {
    path.setLength(-1);
    path.replaceChar(u'/', u'\\');
    findRoot();

    // The separator behind a drive or a share belongs to both: to the root, and to the rest, which
    // is absolute by it.
    const std::int32_t rest = rootLength;
    if (path.charAt(rest) == u'\\') // the terminating zero, if there is no rest
        ++rootLength;
    const CZvString normal = CZvPathNormalizer().Normalize(path.substring(rest));
    path.replace(rest, path.getLength() - rest, normal.getBuffer(), normal.getLength());
}

CZvFilePath::~CZvFilePath() = default;

CZvString CZvFilePath::toString() const {
    return path;
}

// Finds a drive or a share at the beginning, without the separator behind it.
void CZvFilePath::findRoot() {
    const std::int32_t colon = path.indexOf(u':');
    if (colon > 1)
        throw EZvInvalidPath(CZvString::literal(u"invalid drive"));
    if (colon == 1) {
        rootLength = 2;
        return;
    }

    const std::u16string_view text = path.view();
    if (text.size() <= 2 || !text.starts_with(u"\\\\"))
        return;
    const auto endOfName = [&](std::size_t begin) {
        const std::size_t end = text.find(u'\\', begin);
        return end == std::u16string_view::npos ? text.size() : end;
    };
    const std::size_t serverEnd = endOfName(2);
    if (serverEnd == 2)
        throw EZvInvalidPath(CZvString::literal(u"no server name"));
    const std::size_t share = serverEnd < text.size() ? serverEnd + 1 : serverEnd;
    const std::size_t shareEnd = endOfName(share);
    if (shareEnd == share)
        throw EZvInvalidPath(CZvString::literal(u"no share name"));
    rootLength = static_cast<std::int32_t>(shareEnd);
}

} // namespace ZVCL
