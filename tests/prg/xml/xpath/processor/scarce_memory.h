#ifndef TESTS_PRG_XML_XPATH_PROCESSOR_SCARCE_MEMORY_H
#define TESTS_PRG_XML_XPATH_PROCESSOR_SCARCE_MEMORY_H

// While it lives, operator new of this program throws std::bad_alloc.
class ScarceMemory {
public:
    ScarceMemory();
    ~ScarceMemory();
    ScarceMemory(const ScarceMemory &) = delete;
    ScarceMemory &operator=(const ScarceMemory &) = delete;
};

// While it lives, there is memory all the same.
class PlentyOfMemory {
public:
    PlentyOfMemory();
    ~PlentyOfMemory();
    PlentyOfMemory(const PlentyOfMemory &) = delete;
    PlentyOfMemory &operator=(const PlentyOfMemory &) = delete;
};

#endif
