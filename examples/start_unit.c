#include <merocore/error.h>
#include <merosystemd/systemd.h>
#include <stdio.h>

int main(int argc, char* argv[])
{
    if (argc == 2 && MEROCSystemdStart(argv[1]))
        return printf("%s runs\n", argv[1]) < 0;
    fprintf(stderr, "not started (error 0x%04X); the system log says why\n", (unsigned)MLIBCErrGet());
    return 1;
}
