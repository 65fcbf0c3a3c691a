// Loads the libraries that are named on the command line, and ends. MIT licence.
#include <cstdio>
#include <dlfcn.h>

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (!dlopen(argv[i], RTLD_NOW)) {
            std::fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
    }
    return 0;
}
