#ifndef FOUNDATION_STANDARD_DESCRIPTORS_H
#define FOUNDATION_STANDARD_DESCRIPTORS_H

// Opens /dev/null on those of the descriptors 0, 1 and 2 that are closed, so that no file opened
// later gets one of these numbers: the next message would be written over that file. What was
// closed still fails: 0 cannot be read, 1 and 2 cannot be written.
//
// The first call of a program, before it opens anything. Where there is no /dev/null it ends the
// program with status 1.
void occupyStandardDescriptors();

#endif
