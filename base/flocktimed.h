#pragma once

// flock with a bounded retry: while the lock would block, sleeps ms/32+1 milliseconds,
// doubling the sleep after each failure, and gives up once the sleep has reached `ms`.
// Returns what flock returned last (0 on success, -1 with errno set).
int flocktimed(int fd, int operation, unsigned int ms);
