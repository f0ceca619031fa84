// The entry of docs/platforms.md's program off Windows.

#include "examples/guides/Platforms.h"

int main(int argc, char** argv)
{
    return Run({argv + 1, argv + argc}); // bytes, UTF-8 as a rule
}
