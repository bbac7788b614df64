#ifndef FOUNDATION_PROCESS_LIMITS_H
#define FOUNDATION_PROCESS_LIMITS_H

// Makes of the limits that a process has (setrlimit) errors that a program can tell, where the
// system would end it with a signal:
//
//   - a file that would become longer than files may is EFBIG to whoever writes;
//   - all threads get stacks that the deepest request fits on. Where this one's cannot be made so
//     large, the program ends with a message and status 1;
//   - where there is hardly any address space, in which not even a message about that could be
//     made later, the program ends with one and status 1.
//
// At the beginning of a program, before it makes threads.
void standUpToProcessLimits();

#endif
