#pragma once

// flock with a bounded retry: while the lock would block, sleeps ms/32+1 milliseconds,
// doubling the sleep after each failure, and gives up once the sleep has reached `ms`.
// Returns what flock returned last (0 on success, -1 with errno set).
int flocktimed(int fd, int operation, unsigned int ms);

// flock retried at short steady intervals (1 ms, doubling to at most 8 ms) until `ms`
// milliseconds have passed: for a lock that many writers take in turn for a moment each, where
// flocktimed's growing sleeps would leave one waiter behind the others. Returns 0, or -1 with
// errno set (EWOULDBLOCK when the time ran out).
int flockwithin(int fd, int operation, unsigned int ms);
