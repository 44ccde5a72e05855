/*
 * The C interface of ZELTRA: every job of the zeltra command, for programs in any language and of any compiler.
 * SPDX-License-Identifier: MIT
 *
 * No C++ type, exception or allocation crosses this interface. All text is UTF-8 and ends with a zero, names of files
 * included, on every system. Threads may run jobs at the same time.
 *
 *     static int OnBlock(void* user, const zeltra_column* const* columns, size_t column_count, size_t rows);
 *
 *     const char* inputs[] = {"a.uvx", NULL};
 *     const char* options[] = {"interval=30", "source=3C273", NULL};
 *     zeltra_callbacks callbacks = {sizeof callbacks};
 *     callbacks.block = OnBlock;
 *     char sentence[500];
 *     if (zeltra_run("average", inputs, NULL, options, &callbacks, sentence, sizeof sentence, NULL) != ZELTRA_DONE) {
 *       puts(sentence);
 *     }
 */
#ifndef ZELTRA_C_ZELTRA_C_H_
#define ZELTRA_C_ZELTRA_C_H_

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && defined(ZELTRA_BUILDING_LIBRARY)
#define ZELTRA_C_API __declspec(dllexport)
#elif defined(_WIN32)
#define ZELTRA_C_API __declspec(dllimport)
#elif defined(__GNUC__)
#define ZELTRA_C_API __attribute__((visibility("default")))
#else
#define ZELTRA_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** How a job ended: the exit codes of the command. */
enum {
  ZELTRA_DONE = 0,
  ZELTRA_FAILED = 1,     /**< the input, the disk or the memory is at fault */
  ZELTRA_MISUSED = 2,    /**< there is no such job or option, a value cannot be read, a file is not named */
  ZELTRA_CANCELLED = 130 /**< a callback asked for it */
};

/** The type of a column's values. */
enum {
  ZELTRA_INT64 = 1,  /**< int64_t */
  ZELTRA_DOUBLE = 2, /**< double */
  ZELTRA_TEXT = 3    /**< const char*, never NULL; control characters and bytes that are not UTF-8 are replaced */
};

/** A column of a block of a table. */
typedef struct zeltra_column {
  size_t size;            /**< bytes of this struct in the library; members may follow in later versions */
  const char* name;       /**< as in the header of the command's CSV: "ant1", "re_1_1_RR" */
  const char* unit;       /**< empty if it has none; times are Julian dates, "JD" */
  int32_t type;           /**< ZELTRA_INT64, ZELTRA_DOUBLE or ZELTRA_TEXT */
  int32_t reserved;       /**< 0 */
  size_t count;           /**< number of values: the rows of the block */
  const void* values;     /**< `count` values one after the other */
  const uint8_t* present; /**< NULL if every cell has a value; otherwise `count` bytes, 0 where a cell has none. The
                               value there is 0, NaN or an empty text. */
} zeltra_column;

/**
 * What a running job tells its host, and asks of it. Every member but `size` may be NULL, and so may the struct.
 *
 * All calls come from the thread that called zeltra_run, one at a time, and whatever they point to is valid during the
 * call only. A callback must return: exceptions and longjmp must not leave it. It may run other jobs.
 */
typedef struct zeltra_callbacks {
  size_t size; /**< sizeof(zeltra_callbacks) as the host was compiled; members beyond it count as NULL */
  void* user;  /**< first argument of every callback */

  /**
   * The job goes on. Comes at least every 50 ms, whatever the job does, and when its step or percentage changes; not
   * while another callback runs.
   * @param step     what it does, as in "Sorting..."; empty before the first step
   * @param percent  of this step, 0 to 100
   * @return non-zero to cancel the job, which then ends soon, leaves no output and returns ZELTRA_CANCELLED
   */
  int (*progress)(void* user, const char* step, int percent);

  /**
   * The next rows of the job's table, up to some thousands; one block without rows if the table has none. The columns
   * are the same in all blocks of a run. They hold what the command prints with --csv: the same names, and numbers
   * counted from 1.
   * @return non-zero to cancel the job; if its output has its name already, that stays and the job returns ZELTRA_DONE
   */
  int (*block)(void* user, const zeltra_column* const* columns, size_t column_count, size_t rows);

  /**
   * Output that is not a table: the JSON object of "info", which `zeltra info --json` prints, and the chains of
   * "loops", one per line. The texts of several calls belong together.
   * @param bytes  length of the text, without the zero that ends it
   * @return non-zero to cancel the job
   */
  int (*text)(void* user, const char* text, size_t bytes);

  /** Something to know about the data or the result, in one sentence; the job goes on. */
  void (*note)(void* user, const char* sentence);

  /** What the job has made, in one sentence for people; may come more than once, or not at all. */
  void (*report)(void* user, const char* sentence);

  /**
   * Have work done elsewhere: call zeltra_run_part for each part of `task` from 1 to `parts`, in any order, in any
   * processes that see the same files by the same names, and return when all have succeeded. "image" and "clean" ask
   * for this, again and again, for a UVX file of several parts, which they would otherwise leave to threads; the result
   * is the same bit for bit. Progress is not reported meanwhile.
   * @param task  a file in `folder`, removed after the call, as are those that the parts make beside it
   * @return non-zero to cancel the job, as after the failure of a part
   */
  int (*parts)(void* user, const char* task, int parts);
  /** An empty folder that all these processes see, and no other job uses. NULL: `parts` is not called. */
  const char* folder;
} zeltra_callbacks;

/** The version of the library, as in "0.1.0". */
ZELTRA_C_API const char* zeltra_version(void);

/** The names of all jobs, then NULL; valid for as long as the library is loaded. NULL if there is no memory. */
ZELTRA_C_API const char* const* zeltra_jobs(void);

/**
 * What a job takes and gives, as a JSON object in ASCII:
 *
 *     {"name", "summary", "details",
 *      "inputs":  [{"name", "help", "option", "required", "list", "endings": [..]}],
 *      "outputs": [the same],
 *      "options": [{"name", "kind", "form", "unit", "default", "choices": [..], "min", "max", "special", "required",
 *                   "repeated", "excludes", "help"}],
 *      "columns": [{"name", "type", "unit", "help"}]}
 *
 * Files whose "option" is null are given to zeltra_run by position, others as an option of that name. "list" says
 * that there may be several of them. An option that is "repeated", or a list, may be given several times. The kind of
 * an option is "flag", "whole", "real", "text", "time", "range", "text list", "number list" or "choice". "default" is
 * text, in the form of a value or in words; "min", "max" and "special" (a value allowed outside the range) are numbers.
 * A value that does not apply is null or an empty list. Capitals in the name of a column stand for numbers and names:
 * "re_IF_CHANNEL_POLARISATION". Its type is "int64", "double" or "text". A job may leave columns out; "table" and
 * "uvw", whose tables are not described, name theirs in the blocks.
 *
 * @return valid for as long as the library is loaded; NULL if there is no such job, or no memory
 */
ZELTRA_C_API const char* zeltra_job_json(const char* job);

/**
 * Run a job to its end.
 *
 * The arguments are those of the command `zeltra JOB`, read and checked by the same code. Each list ends with NULL;
 * NULL instead of a list is an empty one.
 *
 * @param job        name of the job, as in "average"
 * @param inputs     the files to read, in the order of the job's description
 * @param outputs    the files to make that the command takes by position, in that order. Those that it takes as
 *                   options are options here as well: "output=a.uvx" of average, "fits=a.fits" of image.
 * @param options    "NAME=VALUE", the value being all after the first '='; a flag is "NAME". The same names and values
 *                   as on the command line, without dashes: "interval=30", "source=3C273,7", "force". What the command
 *                   takes as words between the files has a name, too: "code=AN" of table.
 * @param callbacks  may be NULL
 * @param sentence   receives why the job did not end well: one sentence that names the file, what is wrong with it and
 *                   where; empty after success. It always ends with a zero and is cut, between characters, if it does
 *                   not fit. May be NULL if `sentence_size` is 0.
 * @param needed     receives the number of bytes that the whole sentence takes, with its zero; may be NULL
 * @return ZELTRA_DONE, ZELTRA_FAILED, ZELTRA_MISUSED or ZELTRA_CANCELLED
 */
ZELTRA_C_API int zeltra_run(const char* job, const char* const* inputs, const char* const* outputs,
                            const char* const* options, const zeltra_callbacks* callbacks, char* sentence,
                            size_t sentence_size, size_t* needed);

/**
 * Do a part of a task that the callback `parts` of another process, or of this one, was given. It may have been done
 * before, in part or wholly, by a process that was lost.
 *
 * @param task       the file
 * @param part       its number, from 1
 * @param callbacks  only `progress` is called; may be NULL
 * @param sentence   as for zeltra_run
 * @return as for zeltra_run; ZELTRA_FAILED also if another version of the library made the task, or if its input has
 *         changed since
 */
ZELTRA_C_API int zeltra_run_part(const char* task, int part, const zeltra_callbacks* callbacks, char* sentence,
                                 size_t sentence_size, size_t* needed);

#ifdef __cplusplus
}
#endif

#endif /* ZELTRA_C_ZELTRA_C_H_ */
