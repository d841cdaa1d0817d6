#include <merocore/file.h>
#include <merocore/support.h>

#include <cstring>

int MLIBCSupportGet(const char* capability)
{
    char answer[sizeof "yes" + 1]; // one byte more than "yes" needs, so that a longer word is not cut down to it
    return MLIBCFileGetKeyValue("/usr/mero/etc/support.conf", capability, answer, sizeof answer, 0) == 0 &&
           std::strcmp(answer, "yes") == 0;
}
