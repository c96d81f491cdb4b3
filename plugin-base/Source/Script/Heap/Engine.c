/* The script engine, with what its packaged options lack: running scripts are interrupted now and then, and may then be
   stopped. Whoever makes a heap gives it data that begin with the function to ask (ScriptHeap.h), or none. */
#define DUK_COMPILING_DUKTAPE
#include <duk_config.h>

#undef DUK_USE_INTERRUPT_COUNTER
#undef DUK_USE_EXEC_TIMEOUT_CHECK
#define DUK_USE_INTERRUPT_COUNTER
#define DUK_USE_EXEC_TIMEOUT_CHECK(data) ((data) != NULL && (*(int (**)(void *)) (data))(data) != 0)

#include <duktape.c>
