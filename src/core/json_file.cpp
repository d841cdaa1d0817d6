#include "core/json_file.h"

#include "core/text_reader.h"
#include "platform/core/system_calls.h"

#include <json/reader.h>
#include <json/writer.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <memory>
#include <sstream>
#include <utility>

namespace MERO::Systemd {
namespace {

constexpr off_t kLargestFile = off_t{16} << 20;

} // namespace

bool ReadJsonFile(const Descriptor& folder, const std::string& name, Json::Value& value)
{
    // A package may have made a link to a file that it may not read itself. A FIFO must not block the caller.
    const Descriptor file(
        openat(folder.Get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK));
    struct stat status;
    if (!file || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > kLargestFile) {
        return false;
    }
    TextReader reader;
    const auto text = reader.Read(file);
    if (!text) {
        return false;
    }
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["collectComments"] = false; // rewritten, an unclosed comment would make the file unreadable
    const std::unique_ptr<Json::CharReader> parser(builder.newCharReader());
    try {
        return parser->parse(text->data(), text->data() + text->size(), &value, nullptr);
    } catch (const Json::Exception&) { // nested too deeply
        return false;
    }
}

bool WriteJsonFile(const Descriptor& folder, const std::string& name, const std::string& like, const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true; // keeps texts byte for byte
    std::ostringstream stream;
    // Without exceptions, running out of memory would silently cut the text.
    stream.exceptions(std::ios::badbit | std::ios::failbit);
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    writer->write(value, &stream);
    stream << "\n";
    const std::string text = std::move(stream).str();

    const Descriptor file(
        openat(folder.Get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644));
    // If `like` is a link, its target's owner and mode are not copied: whoever made the link may not own the target.
    return file && FillNewFile(file.Get(), folder.Get(), like.c_str(), AT_SYMLINK_NOFOLLOW, text);
}

} // namespace MERO::Systemd
