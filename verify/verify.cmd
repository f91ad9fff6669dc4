@echo off
rem Checks Brindlex on this Windows and writes what came out into report.html, beside this file.
rem
rem   verify.cmd [REPORT]
rem
rem It needs nothing but Windows. The classes are registered for the current user while it runs, and
rem unregistered at its end; nothing else is changed. Exit status: 0 all checks passed, 1 some failed,
rem 2 it could not run.
setlocal
set "report=%~1"
if "%report%"=="" set "report=%~dp0report.html"
set "host=%SystemRoot%\System32\cscript.exe"
if not exist "%host%" (
  echo verify: %host% is missing; the Windows Script Host is switched off or not installed.
  exit /b 2
)
rem The engine is named because .js may belong to an editor; not every script host knows that switch.
set "engine=//E:JScript"
"%host%" //nologo %engine% "%~dp0verify.js" probe >nul 2>&1 || set "engine="
"%host%" //nologo %engine% "%~dp0verify.js" report "%report%"
exit /b %ERRORLEVEL%
