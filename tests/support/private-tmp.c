// private-tmp COMMAND [ARGUMENT...]: runs the command with an empty /tmp of its own. The daemon's socket has a fixed path
// there: so tests that use it run side by side. Needs the right to mount.
#define _GNU_SOURCE
#include <sched.h>
#include <stdio.h>
#include <sys/mount.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc < 2 || unshare(CLONE_NEWNS) != 0 || mount(NULL, "/", NULL, MS_REC | MS_PRIVATE, NULL) != 0 ||
        mount("tmpfs", "/tmp", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
        perror(argv[0]);
        return 126;
    }
    execvp(argv[1], argv + 1);
    perror(argv[1]);
    return 127;
}
