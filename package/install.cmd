@echo off
rem Installs or upgrades RemoteAccess on this machine. Needs an administrator's command prompt.
rem   install.cmd /server https://HOST[:PORT] /key-file FILE [further options]
rem "install.cmd /help" tells of all options and exit codes.
setlocal
set "SETUP=%~dp0bin\TsrSetup.exe"
if not exist "%SETUP%" (
  echo bin\TsrSetup.exe is missing: unpack the whole ZIP, then start install.cmd from there. 1>&2
  exit /b 6
)
"%SETUP%" install %*
exit /b %ERRORLEVEL%
