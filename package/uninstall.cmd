@echo off
rem Removes RemoteAccess from this machine. Needs an administrator's command prompt.
rem   uninstall.cmd [/keep-data]
rem "uninstall.cmd /help" tells of the exit codes.
setlocal
set "SETUP=%~dp0bin\TsrSetup.exe"
if not exist "%SETUP%" (
  echo bin\TsrSetup.exe is missing: unpack the whole ZIP, then start uninstall.cmd from there. 1>&2
  exit /b 6
)
"%SETUP%" uninstall %*
exit /b %ERRORLEVEL%
