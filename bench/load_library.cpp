/// Loads a library, makes one query, and ends: the process that bench_loading measures. Without an argument it only
/// ends.
#include <dlfcn.h>

int main(int argc, char* argv[])
{
    if (argc < 2) {
        return 0;
    }
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return 1;
    }
    using Question = int(const char* unit, char* name, int size);
    auto* ask = reinterpret_cast<Question*>(dlsym(library, "MEROCSystemdNameGet"));
    if (ask == nullptr) {
        return 1;
    }
    char name[64];
    ask("basic.target", name, sizeof name); // a unit of every systemd, without this key
    return 0;
}
