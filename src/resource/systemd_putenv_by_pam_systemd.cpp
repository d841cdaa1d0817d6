#include "core/errors.h"
#include "core/log.h"
#include "core/systemctl_dialect.h"
#include "platform/core/owners.h"

#include <merosystemd/systemd.hpp>

#include <fcntl.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Text = MERO::CMemory<char>;
using TextList = MERO::CMemory<char*>;

/// Returns the user's name; nullptr if there is none.
Text UserNameGet(uid_t uid)
{
    for (std::size_t size = 1024;; size *= 2) {
        std::vector<char> buffer(size);
        passwd entry{};
        passwd* found = nullptr;
        const int error = getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
        if (error != 0) {
            MERO_LOG(LOG_ERR, "Failed to getpwuid_r (%s)", std::strerror(error));
            if (error == ERANGE) {
                continue;
            }
        }
        if (found == nullptr || found->pw_name == nullptr || found->pw_name[0] == '\0') {
            return nullptr;
        }
        Text name(strdup(found->pw_name));
        if (name == nullptr) {
            MERO_LOG(LOG_ERR, "Failed to strdup (%m)");
        }
        return name;
    }
}

/// A PAM handle, from pam_start() to pam_end(). The session is never closed: it must live as long as the user manager's
/// variables are in use.
class PamHandle {
public:
    /// Opens the user's session. Returns false, and logs it, on failure.
    bool Open(const char* user)
    {
        const pam_conv noConversation{};
        status_ = pam_start("systemd-user", user, &noConversation, &handle_);
        if (status_ != PAM_SUCCESS) {
            MERO_LOG(LOG_ERR, "Failed to pam_start (%s)", pam_strerror(handle_, status_));
            return false;
        }
        status_ = pam_open_session(handle_, 0);
        if (status_ != PAM_SUCCESS) {
            MERO_LOG(LOG_ERR, "Failed to pam_open_session (%s)", pam_strerror(handle_, status_));
            return false;
        }
        return true;
    }

    TextList Environment() { return TextList(pam_getenvlist(handle_)); }

    void End()
    {
        if (handle_ == nullptr) {
            return;
        }
        const int ended = pam_end(handle_, status_);
        if (ended != PAM_SUCCESS) {
            MERO_LOG(LOG_ERR, "Failed to pam_end (%s)", pam_strerror(nullptr, ended));
        }
    }

private:
    pam_handle_t* handle_ = nullptr;
    int status_ = PAM_SUCCESS;
};

/// From systemd 257 on, logind gives an ordinary process no session. The user's manager is then found through the
/// runtime folder, if only the user can write to it.
bool PutRuntimeDirectory(uid_t uid)
{
    const std::string path = "/run/user/" + std::to_string(uid);
    const MERO::Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    const bool isOwn = folder && fstat(folder.Get(), &status) == 0 && status.st_uid == uid &&
                       (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    const auto has = [&](const char* name) { return faccessat(folder.Get(), name, F_OK, 0) == 0; };
    return isOwn && (has("systemd/private") || has("bus")) && setenv("XDG_RUNTIME_DIR", path.c_str(), 1) == 0;
}

bool PutEnvironment(PamHandle& session, uid_t uid)
{
    const Text user = UserNameGet(uid);
    if (user == nullptr) {
        MERO_LOG(LOG_ERR, "Failed to GetUsername");
        return false;
    }
    if (!session.Open(user.get())) {
        return false;
    }
    const TextList variables = session.Environment();
    if (variables == nullptr || *variables == nullptr) {
        if (MERO::Systemd::ConfiguredSystemctlDialect().isCurrent && PutRuntimeDirectory(uid)) {
            return true;
        }
        MERO_LOG(LOG_ERR, "%s", variables == nullptr ? "Failed to pam_getenvlist" : "The pam_getenvlist is empty");
        return false;
    }
    for (char** variable = variables.get(); *variable != nullptr; ++variable) {
        if (putenv(*variable) != 0) { // the environment keeps this very text, so it is never freed
            MERO_LOG(LOG_ERR, "Failed to putenv '%s' (%m)", *variable);
        }
    }
    return true;
}

} // namespace

void MEROSystemdPutEnvByPAMSystemd()
{
    const uid_t uid = getuid();
    if (uid == 0) {
        return;
    }
    PamHandle session;
    const bool done = MERO::Systemd::WithoutExceptions(MERO_HERE, [&] { return PutEnvironment(session, uid); }) != 0;
    session.End();
    if (!done) {
        MERO_LOG(LOG_ERR, "Failed to put env by pam systemd for %lld", static_cast<long long>(uid));
    }
}
