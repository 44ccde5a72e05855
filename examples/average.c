/*
 * Import a UV FITS file, average it over 60 s and print the averages: average IN.uvfits OUT.uvx
 * SPDX-License-Identifier: MIT
 */
#include <stdio.h>

#include "zeltra/c/zeltra_c.h"

/* Ctrl-C would be asked for here: a value other than 0 cancels the job. */
static int OnProgress(void* user, const char* step, int percent) {
  (void)user;
  fprintf(stderr, "\r%-40s %3d %%", step, percent);
  return 0;
}

static void OnSentence(void* user, const char* sentence) {
  fprintf(stderr, "\r%s: %s\n", (const char*)user, sentence);
}

static void PrintCell(const zeltra_column* column, size_t row) {
  if (column->present && !column->present[row]) return;
  switch (column->type) {
    case ZELTRA_INT64:
      printf("%lld", (long long)((const int64_t*)column->values)[row]);
      break;
    case ZELTRA_DOUBLE:
      printf("%.12g", ((const double*)column->values)[row]);
      break;
    case ZELTRA_TEXT:
      printf("%s", ((const char* const*)column->values)[row]);
      break;
  }
}

static int OnBlock(void* user, const zeltra_column* const* columns, size_t column_count, size_t rows) {
  (void)user;
  for (size_t row = 0; row < rows; ++row) {
    for (size_t i = 0; i < column_count; ++i) {
      printf(i > 0 ? " %s=" : "%s=", columns[i]->name);
      PrintCell(columns[i], row);
    }
    printf("\n");
  }
  return ferror(stdout);
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: average IN.uvfits OUT.uvx\n");
    return ZELTRA_MISUSED;
  }
  zeltra_callbacks callbacks = {.size = sizeof callbacks,
                                .user = "zeltra",
                                .progress = OnProgress,
                                .block = OnBlock,
                                .note = OnSentence,
                                .report = OnSentence};
  char sentence[500];

  const char* fits[] = {argv[1], NULL};
  const char* uvx[] = {argv[2], NULL};
  const char* replace[] = {"force", NULL};
  int code = zeltra_run("import", fits, uvx, replace, &callbacks, sentence, sizeof sentence, NULL);
  if (code == ZELTRA_DONE) {
    const char* options[] = {"interval=60", "stokes=I", NULL};
    code = zeltra_run("average", uvx, NULL, options, &callbacks, sentence, sizeof sentence, NULL);
  }
  if (code != ZELTRA_DONE) fprintf(stderr, "\rerror: %s\n", sentence);
  return code;
}
