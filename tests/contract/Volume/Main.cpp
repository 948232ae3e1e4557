// SPDX-License-Identifier: GPL-3.0-or-later
// The test program, and the small programs that its tests start: it is its own helper.
#include "MountedVolume.h"

#include <csignal>
#include <cstring>

namespace quillbox::test {
namespace {

int look(const char* path) {
    struct stat attributes = {};
    return ::lstat(path, &attributes) == 0 ? 0 : errno;
}

int serve(const char* path) {
    FakeRunLoop loop;
    FakeNotificationCenter notifications;
    FakeLog log;
    const auto device = std::make_shared<MemoryDevice>();
    device->put("/ready", "");
    const auto delegate = std::make_shared<MemoryDelegate>(device);
    FuseUserFileSystems systems(loop, notifications, log,
                                [&](const std::weak_ptr<GMUserFileSystemDelegate>&) {
                                    return std::make_unique<MemoryBacking>(device, kConnection);
                                });
    const auto volume = systems.initWithDelegate(delegate, false);
    volume->mountAtPath(path, {});
    loop.runFor(60s);
    return 0;
}

}  // namespace
}  // namespace quillbox::test

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--look") == 0) {
        return quillbox::test::look(argv[2]);
    }
    if (argc == 3 && std::strcmp(argv[1], "--look-through-signals") == 0) {
        std::signal(SIGUSR1, [](int) {});
        return quillbox::test::look(argv[2]);
    }
    if (argc == 3 && std::strcmp(argv[1], "--serve") == 0) {
        return quillbox::test::serve(argv[2]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
