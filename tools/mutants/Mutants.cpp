// Which mutant is awake, and which ones a run reaches. A library of its own, so that the library
// under test and the tests share it.
//
//     QD_MUTANT=7              the mutant that is awake
//     QD_MUTANTS_REACHED=FILE  gets a byte 1 at the number of each mutant that was reached

#include "Mutants.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Choice {
    int awake = 0;
    unsigned char* reached = nullptr;
    int size = 0;

    Choice() noexcept
    {
        if (const char* number = std::getenv("QD_MUTANT"))
            awake = std::atoi(number);
        if (const char* file = std::getenv("QD_MUTANTS_REACHED"))
            Map(file);
    }

    // A shared mapping keeps what was reached even when the process is killed.
    void Map(const char* file) noexcept
    {
        const int descriptor = open(file, O_RDWR | O_CLOEXEC);
        struct stat status;
        if (descriptor < 0 || fstat(descriptor, &status) != 0)
            std::abort();
        size = static_cast<int>(status.st_size);
        void* memory = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ | PROT_WRITE,
                            MAP_SHARED, descriptor, 0);
        if (memory == MAP_FAILED)
            std::abort();
        reached = static_cast<unsigned char*>(memory);
        close(descriptor);
    }
};

} // namespace

bool qdm::reached(int number) noexcept
{
    static const Choice choice;
    if (choice.reached && number < choice.size)
        choice.reached[number] = 1;
    return number == choice.awake;
}
