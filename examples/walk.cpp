// Open a UVX file, walk its records, print a table: walk FILE.uvx
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <memory>

#include "zeltra/zeltra.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: walk FILE.uvx\n");
    return 2;
  }
  zeltra::AUVXFile file;
  if (!file.OpenBuff(argv[1], 0, 1 << 20)) {
    std::fprintf(stderr, "%s: not a UVX file\n", argv[1]);
    return 1;
  }

  // Every record: the group, then its visibilities, IF by IF, channel by channel, polarisation by polarisation.
  zeltra::AUVXGroup group;
  zeltra::AUVXVisibility visibility(file);
  int valid = 0;
  double amplitudes = 0;
  file.SeekUVGroup(0);
  for (int record = 0; record < file.count(); ++record) {
    if (!group.load(file) || !visibility.load(file)) break;
    for (int i = 0; i < visibility.count(); ++i) {
      if (!visibility.lpArray()[i].isValid()) continue;
      ++valid;
      amplitudes += visibility.lpArray()[i].ampl();
    }
  }
  std::printf("%d records, %d valid values, mean amplitude %.4f\n", file.count(), valid,
              valid ? amplitudes / valid : 0);

  const std::unique_ptr<zeltra::AUVXTable> table(file.GetTable("AN"));
  if (!table) return 1;
  std::printf("%s with %d rows:\n", table->Code().c_str(), table->rows());
  const zeltra::AUVXAntenns antennas(*table);
  for (int i = 0; i < antennas.count(); ++i) {
    const zeltra::AUVXTlscItem& antenna = antennas(i);
    std::printf("AN %3d %-8s %14.3f %14.3f %14.3f m\n", antenna.id, antenna.Name().c_str(), antenna.x, antenna.y,
                antenna.z);
  }
  return 0;
}
