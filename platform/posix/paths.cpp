// Path queries on POSIX.
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/file.h"
#include "platform/posix/native_path.h"

namespace quillon::platform {
namespace {

// statfs magic numbers of network and user-space (FUSE: sshfs and friends)
// file systems; everything else counts as a local disk.
bool IsRemoteFileSystem(unsigned long type) {
  switch (type) {
    case 0x6969:      // NFS
    case 0x517B:      // SMB
    case 0xFF534D42:  // CIFS
    case 0xFE534D42:  // SMB2
    case 0x65735546:  // FUSE (sshfs, and any other FUSE file system)
    case 0x564C:      // NCP
    case 0x5346414F:  // AFS
    case 0x6B414653:  // kAFS
    case 0x73757245:  // Coda
    case 0x01021997:  // 9P (v9fs)
    case 0x00C36400:  // Ceph
    case 0x47504653:  // GPFS
    case 0x013111A8:  // IBRIX
    case 0x0BD00BD0:  // Lustre
    case 0x19830326:  // fhgfs / BeeGFS
      return true;
    default:
      return false;
  }
}

}  // namespace

bool PathExists(std::u16string_view path) {
  const auto native = posix::NativePath(path);
  struct stat info {};
  return native && ::stat(native->c_str(), &info) == 0;
}

std::uint32_t DeleteFilePath(std::u16string_view path) {
  const auto native = posix::NativePath(path);
  if (!native) return posix::BadPathError(path);
  if (::unlink(native->c_str()) == 0) return error::kSuccess;
  const int err = errno;
  return err == ENOENT ? posix::MissingPathError(*native) : posix::WindowsError(err);
}

bool IsFixedDriveRoot(std::u16string_view /*root*/) { return false; }

bool IsLocalFixedPath(std::u16string_view path) {
  auto native = posix::NativePath(path);
  if (!native || native->front() != '/') return false;
  // A file that does not exist yet lies on the file system of the nearest
  // folder above it that does.
  for (;;) {
    struct statfs info {};
    if (::statfs(native->c_str(), &info) == 0) {
      return !IsRemoteFileSystem(static_cast<unsigned long>(info.f_type));
    }
    if (errno != ENOENT && errno != ENOTDIR) return false;
    const std::string::size_type slash = native->find_last_of('/');
    if (slash == 0) {
      if (*native == "/") return false;
      native->resize(1);
    } else {
      native->resize(slash);
    }
  }
}

char16_t PathSeparator() { return u'/'; }

}  // namespace quillon::platform
