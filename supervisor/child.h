// The emulator as the supervisor's child. It is forked held at a gate, so that it is on record
// before it runs, and its exec is reported back through a pipe.
#pragma once

#include <QByteArray>
#include <QList>

#include <sys/types.h>

struct Child
{
    pid_t pid = -1;
    int gate = -1;   // closing it lets the child exec
    int result = -1; // an exec that failed writes its errno here
    int out = -1;    // the child's stdout and stderr when they are copied
    int err = -1;
};

// Ignores the terminal's signals, so that the end is still recorded after a Ctrl+C. A SIGTERM
// is a request to stop: it is passed on to the child, which is killed if it still runs
// graceSeconds later. The child gets back what this process inherited.
void SetUpSignals(unsigned graceSeconds);

// Whether a stop was requested: the child's end was asked for, whatever its status.
bool StopWasAsked();

// Forks the child for argv (argv[0] the program), held before exec. Its output goes to logFd,
// or with copy through pipes for CopyOutput; with neither it keeps this process's own.
Child Fork(const QList<QByteArray>& argv, int logFd, bool copy);

// Lets the child exec; 0 when it did, else the error of the exec.
int Release(Child& child);

// Copies the child's stdout and stderr to logFd and to this process's own until the child ends.
void CopyOutput(Child& child, int logFd);

// The child's wait status once it ends.
int WaitFor(const Child& child);

// Ends this process as the wait status says the child ended: a signal again, or its status.
int EndAs(int status);

void WriteAll(int fd, const QByteArray& bytes);
