#include "paths.h"

#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace platform {
namespace {

Path g_root;
int g_root_error;
pthread_once_t g_once = PTHREAD_ONCE_INIT;

// secure_getenv answers nothing in a program that runs with somebody else's rights.
void ReadRoot() {
    const char *root = secure_getenv("MIDWARE_ROOT");
    if (root == nullptr || root[0] == '\0') return;
    Path here = "";
    if (root[0] != '/' && (getcwd(here, sizeof here) == nullptr || here[0] != '/')) {
        g_root_error = errno != 0 ? errno : ENOENT;
        return;
    }
    const int length = snprintf(g_root, sizeof g_root, "%s%s%s", here, here[0] != '\0' ? "/" : "", root);
    if (length < 0 || static_cast<size_t>(length) >= sizeof g_root) {
        g_root_error = ENAMETOOLONG;
        return;
    }
    for (size_t end = strlen(g_root); end > 0 && g_root[end - 1] == '/'; --end) g_root[end - 1] = '\0';
}

bool LeadsUpwards(const char *path) {
    for (const char *at = path; (at = strstr(at, "/..")) != nullptr; at += 3) {
        if (at[3] == '/' || at[3] == '\0') return true;
    }
    return false;
}

}  // namespace

const char *Root() {
    pthread_once(&g_once, ReadRoot);
    if (g_root_error == 0) return g_root;
    errno = g_root_error;
    return nullptr;
}

bool Place(const char *path, Path &out) {
    const char *root = Root();
    if (root == nullptr) return false;
    if (path == nullptr || path[0] != '/' || LeadsUpwards(path)) {
        errno = EINVAL;
        return false;
    }
    const size_t root_length = strlen(root);
    const size_t length = strlen(path);
    if (root_length + length >= sizeof out) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(out, root, root_length);
    memcpy(out + root_length, path, length + 1);
    return true;
}

}  // namespace platform
