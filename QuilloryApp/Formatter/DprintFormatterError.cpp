#include "QuilloryApp/Formatter/DprintFormatterError.h"

namespace Quillory {

DprintFormatterError::DprintFormatterError(Kind kind, std::int32_t status, const std::string& description)
    : QuilloryError(description)
    , m_kind(kind)
    , m_status(status)
{
}

DprintFormatterError DprintFormatterError::unsupportedExtension(const std::string& documentPath)
{
    return { Kind::unsupportedExtension, 0, "dprint does not support formatting " + documentPath + "." };
}

DprintFormatterError DprintFormatterError::missingResource(const std::string& pathOrName)
{
    return { Kind::missingResource, 0, "Bundled dprint resource is missing: " + pathOrName + "." };
}

DprintFormatterError DprintFormatterError::processFailed(std::int32_t status, const std::string& message)
{
    return { Kind::processFailed, status, message.empty() ? "dprint formatting failed." : message };
}

DprintFormatterError DprintFormatterError::outputDecodingFailed()
{
    return { Kind::outputDecodingFailed, 0, "dprint returned output that could not be decoded as UTF-8." };
}

}
