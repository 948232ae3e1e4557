// SPDX-License-Identifier: GPL-3.0-or-later
// Files on a real mount.
#include "MountedVolume.h"

#include <fcntl.h>

namespace quillbox::test {
namespace {

class FilesOnAVolume : public MountedVolume {
protected:
    void SetUp() override {
        device->put("/notes.txt", "hello, volume");
        device->putFolder("/folder");
        device->put("/folder/inner.txt", "inside");
        mount();
    }
};

TEST_F(FilesOnAVolume, AreReadWhole) {
    EXPECT_EQ(contentOf(at("/notes.txt")), "hello, volume");
    EXPECT_EQ(contentOf(at("/folder/inner.txt")), "inside");
}

}  // namespace
}  // namespace quillbox::test
