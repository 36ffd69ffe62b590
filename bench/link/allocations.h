#ifndef ALLOCATIONS_H
#define ALLOCATIONS_H

// The heap allocations that this thread has made, by whatever way. The program has its own malloc for that.
long allocationsOfThisThread();

#endif
