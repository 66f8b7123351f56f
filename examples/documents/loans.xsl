<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform" xmlns:l="urn:example:library"
                exclude-result-prefixes="l">
  <xsl:output method="html" indent="yes"/>
  <xsl:template match="/l:library">
    <ul>
      <xsl:for-each select="l:book[@lent]">
        <xsl:sort select="l:title"/>
        <li><xsl:value-of select="l:title"/> (<xsl:value-of select="l:author"/>)</li>
      </xsl:for-each>
    </ul>
  </xsl:template>
</xsl:stylesheet>
