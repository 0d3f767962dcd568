# fish completion for Converter

complete -c Converter -o v -d 'print the version and the steps'
complete -c Converter -o list -d 'list the records of an archive'
complete -c Converter -o flat -d 'flatten a bundle into an archive'
complete -c Converter -o unflat -d 'turn an archive back into a bundle'
complete -c Converter -o sign -d 'append a signature'
complete -c Converter -o key -r -F -d 'private RSA key (PEM)'
complete -c Converter -o cert -r -k -a '(__fish_complete_suffix .pem)' -d 'certificate (PEM)'
complete -c Converter -o p -x -d 'pass phrase'
complete -c Converter -o pf -r -F -d 'file that holds the pass phrase'
complete -c Converter -o verify -d 'check the signature'
complete -c Converter -o o -r -F -d 'output file or folder'
