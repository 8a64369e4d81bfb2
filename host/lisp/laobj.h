#pragma once
// LAOBJ: a Lisp object of the host's runtime (ECL's cl_object is LAOBJ*).
// Code outside the Lisp layer sees only this incomplete type and the functions
// of host/lisp; only host/lisp and the *_lisp.cpp binding files include ECL.
//
// The collector does not scan C++ heap or static data: keep an LAOBJ* only on
// the stack for the duration of a call, or register it with lisp_keep().

union cl_lispunion;
using LAOBJ = union cl_lispunion;
