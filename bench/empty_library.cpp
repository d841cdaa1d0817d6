/// A library that does nothing and has the same dependencies: the peer for loading.
extern "C" int MEROCSystemdNameGet(const char*, char*, int)
{
    return 0;
}
