# What a signature of the app extension can hold. From macOS 15 on the system hands an application
# group only to whom it belongs: one that begins with "group." to those whose provisioning profile
# lists it, one that begins with a team's identifier to whatever that team has signed.

# The team that an identity of the key chain names in parentheses; "" for one that names a person.
function(kelpie_team_of OUT IDENTITY)
  set(team "")
  if(NOT IDENTITY MATCHES "^(Apple Development|Mac Developer):" AND
     IDENTITY MATCHES "\\(([A-Z0-9]+)\\)$")
    set(team "${CMAKE_MATCH_1}")
  endif()
  set(${OUT} "${team}" PARENT_SCOPE)
endfunction()

# kelpie_check_signing(OUT IDENTITY <identity> TEAM <team> GROUP <group> PROFILE <file>)
# OUT: why the identity cannot have the group; "" when it can. An empty TEAM is taken from the
# identity, and an empty PROFILE is none.
function(kelpie_check_signing OUT)
  cmake_parse_arguments(PARSE_ARGV 1 signing "" "IDENTITY;TEAM;GROUP;PROFILE" "")
  set(${OUT} "" PARENT_SCOPE)
  if(signing_PROFILE AND NOT EXISTS "${signing_PROFILE}")
    set(${OUT} "KELPIE_PROVISIONING_PROFILE: there is no file ${signing_PROFILE}" PARENT_SCOPE)
    return()
  endif()
  if(signing_IDENTITY STREQUAL "-" OR signing_IDENTITY STREQUAL "")
    if(signing_PROFILE)
      set(${OUT} "A provisioning profile needs KELPIE_CODE_SIGN_IDENTITY: nobody's signature has none"
          PARENT_SCOPE)
    endif()
    return()
  endif()

  kelpie_team_of(team "${signing_IDENTITY}")
  if(signing_TEAM)
    if(team AND NOT team STREQUAL signing_TEAM)
      set(${OUT} "${signing_IDENTITY} is not of the team ${signing_TEAM} (KELPIE_TEAM_IDENTIFIER)"
          PARENT_SCOPE)
      return()
    endif()
    set(team "${signing_TEAM}")
  endif()
  if(NOT team MATCHES "^[A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9]$")
    set(${OUT} "${signing_IDENTITY} does not name its team: set KELPIE_TEAM_IDENTIFIER, ten characters"
        PARENT_SCOPE)
    return()
  endif()

  string(FIND "${signing_GROUP}" "${team}." own)
  if(own EQUAL 0)
    return()
  endif()
  if(NOT signing_GROUP MATCHES "^group\\.")
    set(${OUT} "The group ${signing_GROUP} is not of the team ${team}: with this identity it must begin with ${team}. or, with a provisioning profile, with group."
        PARENT_SCOPE)
    return()
  endif()
  if(NOT signing_PROFILE)
    set(${OUT} "The group ${signing_GROUP} must stand in a provisioning profile: set KELPIE_PROVISIONING_PROFILE, or a KELPIE_APPLICATION_GROUP that begins with ${team}."
        PARENT_SCOPE)
    return()
  endif()
  # The property list stands in the signed file as it is.
  file(STRINGS "${signing_PROFILE}" strings REGEX "<string>[^<]+</string>")
  string(FIND "${strings}" "<string>${signing_GROUP}</string>" listed)
  if(listed EQUAL -1)
    set(${OUT} "The provisioning profile ${signing_PROFILE} does not list the group ${signing_GROUP}"
        PARENT_SCOPE)
  endif()
endfunction()
