/// What it takes to load a library that does nothing and has the same dependencies.
extern "C" int MEROCSystemdNameGet(const char*, char*, int)
{
    return 0;
}
